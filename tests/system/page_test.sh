#!/usr/bin/env bash
# Runs every command of a page of the documentation and compares what it prints.
#   page_test.sh PAGE BIN SCRIPTS
# In its ```console blocks a line "$ COMMAND" is a command, and what follows up to the next one is
# what it prints; a line "..." stands for any lines. Times, hexadecimal digits and the ports of the
# demo servers are taken for equal, and the home directory is /home/you.
set -euo pipefail
page=$(realpath "$1")
bin=$(realpath "$2")
scripts=$(realpath "$3")
export PATH="$bin:$scripts:$PATH"

directory=$(mktemp -d)
clean_up() {
  demo-servers stop "$directory/demo" >/dev/null 2>&1 || true
  rm -rf "$directory"
}
trap clean_up EXIT
mkdir "$directory/home" "$directory/tmp"
export HOME=$directory/home TMPDIR=$directory/tmp PPS_RUNTIME_DIR=$directory/none LC_ALL=C.UTF-8
unset TRUST_CERTMGRD TRUST_DIALOGD
cd "$directory"

# The first of seven ports that nobody uses now; another program may still be faster.
first_port() {
  local port used
  used=$(sed -n 's/^ *[0-9]*: [0-9A-F]*:\([0-9A-F]*\) .*/\1/p' /proc/net/tcp*)
  while :; do
    port=$((20000 + RANDOM % 1000 * 10))
    for offset in 0 1 2 3 4 5 6; do
      grep -q "$(printf '%04X' $((port + offset)))" <<<"$used" && continue 2
    done
    echo "$port"
    return
  done
}
port=$(first_port)

# What differs from run to run, made equal.
normal() {
  sed -E -e "s/$((port / 10))([0-6])/944\1/g" \
    -e 's/[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}Z/TIME/g' \
    -e 's/\b([0-9A-F]{4} ){3,}[0-9A-F]{4}\b/HEX/g' \
    -e 's/[0-9a-f]{8,}/HEX/g' -e "s|$directory/home|/home/you|g" -e 's/[[:space:]]+$//'
}

# matches EXPECTED ACTUAL: line by line.
matches() {
  local pattern='' line first=yes
  while IFS= read -r line; do
    [[ $first == yes ]] || pattern+=$'\n'
    first=no
    if [[ $line == ... ]]; then
      pattern+='*'
    else
      pattern+=$(printf '%s' "$line" | sed 's/[][\\*?]/\\&/g')
    fi
  done <<<"$1"
  # shellcheck disable=SC2053  # a pattern it is
  [[ $2 == $pattern ]]
}

count=0
failed=0
# try COMMAND EXPECTED
try() {
  local command=${1//demo-servers start demo/demo-servers start demo $port} actual
  command=$(sed -E "s/944([0-6])/$((port / 10))\1/g" <<<"$command")
  # A command may fail: what it prints is what counts.
  actual=$(eval "$command" 2>&1 </dev/null | normal || true)
  count=$((count + 1))
  if ! matches "$(normal <<<"$2")" "$actual"; then
    printf '%s\n--- the page says\n%s\n--- it prints\n%s\n\n' "$1" "$2" "$actual" >&2
    failed=1
  fi
}

command="" expected="" inside=no
finish() {
  [[ -z $command ]] || try "$command" "${expected%$'\n'}"
  command="" expected=""
}
while IFS= read -r line; do
  case $inside$line in
    'no```console') inside=yes ;;
    'yes```')
      finish
      inside=no
      ;;
    'yes$ '*)
      finish
      command=${line#\$ }
      ;;
    yes*)
      if [[ $command == *\\ && -z $expected ]]; then
        command=${command%\\}$line
      else
        expected+=$line$'\n'
      fi
      ;;
  esac
done <"$page"

((count > 0)) || { echo "the page has no commands" >&2; exit 1; }
printf '%s commands\n' "$count"
exit "$failed"
