#!/usr/bin/env bash
# quickstart_test.sh QUICKSTART TRUSTCTL: the loopback part gives four verdicts, one for each
# server, and leaves nothing behind; wrong use is told.
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

# expect_refusal PATTERN ARGUMENT...: status 2, and the pattern on standard error.
expect_refusal() {
  local pattern=$1 status=0 err
  shift
  err=$(HOME=$directory/home TMPDIR=$directory/tmp "$quickstart" --loopback "$@" 2>&1 >/dev/null) ||
    status=$?
  if ((status != 2)) || ! grep -Eq "$pattern" <<<"$err"; then
    printf 'not refused with status 2 and "%s": %s: status %s, %s\n' "$pattern" "$*" "$status" "$err"
    failures=1
  fi
}
expect_refusal '^quickstart: /nonexistent/x is no program$' --trustctl /nonexistent/x
expect_refusal '^usage: ' --trustctl "$trustctl" one.example two.example
expect_refusal '^usage: ' --trustctl "$trustctl" ''

if [[ -n $(find "$directory/tmp" "$directory/home" -mindepth 1) ]]; then
  printf 'left behind:\n'
  find "$directory/tmp" "$directory/home" -mindepth 1
  failures=1
fi
if ((failures)); then
  printf '%s\n' "$out"
fi
exit "$failures"
