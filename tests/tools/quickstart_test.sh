#!/usr/bin/env bash
# quickstart_test.sh QUICKSTART TRUSTCTL: the loopback part gives four verdicts, one for each
# server, and leaves nothing behind.
set -euo pipefail

quickstart=$1
trustctl=$2
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
mkdir "$directory/home" "$directory/tmp"

out=$(HOME=$directory/home TMPDIR=$directory/tmp "$quickstart" --loopback --trustctl "$trustctl")
failures=0
expect() {
  if ! grep -Eq "$1" <<<"$out"; then
    printf 'missing in the output: %s\n' "$1"
    failures=1
  fi
}
expect '^  good.example +TRUSTED +- '
expect '^  expired.example +NOT TRUSTED +CERT_EXPIRY '
expect '^  bank.example +NOT TRUSTED +DOMAINNAME_MISMATCH '
expect '^  unknown.example +NOT TRUSTED +NO_TRUSTED '
expect '^TRUSTED  good.example$'
expect '^What to try next:$'
if [[ -n $(find "$directory/tmp" "$directory/home" -mindepth 1) ]]; then
  printf 'left behind:\n'
  find "$directory/tmp" "$directory/home" -mindepth 1
  failures=1
fi
if ((failures)); then
  printf '%s\n' "$out"
fi
exit "$failures"
