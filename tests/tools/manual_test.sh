#!/usr/bin/env bash
# The manual pages and the completion tell of the same commands and options as the help.
#   manual_test.sh BIN SHARE     (the built programs, and what the build made of them)
set -euo pipefail
bin=$1
share=$2
failed=0

complain() {
  printf '%s\n' "$*" >&2
  failed=1
}

# Names in bold, without roff's escapes.
plain() {
  sed 's/\\-/-/g; s/\\f.//g' "$1"
}

# check_page PAGE COMMAND...: every long option of the command's help stands in the page.
check_page() {
  local page=$1 option text
  shift
  if [ ! -f "$page" ]; then
    complain "there is no page $page"
    return
  fi
  text=$(plain "$page")
  while read -r option; do
    grep -q -e "^\(-[a-z], \)\?$option\( \|$\)" <<<"$text" || complain "$page lacks $option"
  done < <("$@" --help | sed -n 's/^  \(-., \)\?\(--[a-z0-9-]*\).*/\2/p')
  if command -v mandoc >/dev/null; then
    mandoc -T lint -W error "$page" >&2 || complain "$page is malformed"
  fi
}

# offered WORD...: what bash offers after "trustctl WORD...", the last word not yet whole.
offered() {
  (
    export PATH="$bin:$PATH"
    # shellcheck disable=SC1091
    . "$share/bash-completion/completions/trustctl"
    COMP_WORDS=(trustctl "$@")
    COMP_CWORD=$#
    _trustctl
    printf '%s\n' "${COMPREPLY[@]}"
  )
}

# check_command WORD...: its page and its completion, and those of the commands below it.
check_command() {
  local name word options
  name=$(IFS=-; echo "trustctl${*:+-}$*")
  check_page "$share/man/man1/$name.1" "$bin/trustctl" "$@"
  options=$(offered "$@" --)
  while read -r word; do
    grep -qxe "$word" <<<"$options" || complain "$* $word is not offered"
  done < <("$bin/trustctl" "$@" --help | sed -n 's/^  \(-., \)\?\(--[a-z0-9-]*\).*/\2/p')
  while read -r word; do
    grep -qxe "$word" <<<"$(offered "$@" "")" || complain "$* $word is not offered"
    check_command "$@" "$word"
  done < <("$bin/trustctl" "$@" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\).*/\1/p')
}

check_command
for service in trust-certmgrd trust-dialogd; do
  check_page "$share/man/man8/$service.8" "$bin/$service"
done
[ "$(offered explain NO_T)" = NO_TRUSTED ] || complain "warnings are not offered"
[ "$(offered verify --color a)" = "$(printf 'auto\nalways')" ] || complain "values are not offered"
[ "$(offered verify x)" = "" ] || complain "files are left to the shell"

# offers EXPECTED WORD...: so bash completes the last word, which it took apart at ':' and '='.
offers() {
  local expected=$1
  shift
  [ "$(offered "$@" | paste -sd' ')" = "$expected" ] || complain "not '$expected' after: $*"
}
export COMP_WORDBREAKS=$' \t\n"\'><=;|&(:'
offers "policy:decline policy:once policy:always" verify --dialog po
offers "decline once always" verify --dialog policy :
offers "once" verify --dialog policy : o
offers "auto always never" verify --color =
offers "smtp" connect --starttls = sm
offers "decline" verify --dialog = policy : d
offers "CERT_EXPIRY,NO_TRUSTED" exceptions add --warnings CERT_EXPIRY,NO_T
offers "" connect --starttls smtp example.org : 2

# takes_files WORD...: the program leaves the last word to the shell, which knows the files.
takes_files() {
  "$bin/trustctl" completion words -- "$@" >/dev/null
}
takes_files verify "" || complain "verify takes files"
takes_files verify --cafile "" || complain "--cafile takes a file"
takes_files verify --store=x || complain "--store takes a directory"
takes_files exceptions import "" || complain "import takes a file"
! takes_files verify --timeout "" || complain "--timeout takes no file"
! takes_files connect "" || complain "connect takes no file"
! takes_files services status "" || complain "status takes no file"
! takes_files exc || complain "a command is no file"
exit "$failed"
