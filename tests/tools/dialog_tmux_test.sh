#!/usr/bin/env bash
# dialog_tmux_test.sh TRUSTCTL: a person at a terminal of 80x24, from the first question to
# "always" to the next verification, which asks nothing.
set -euo pipefail
trustctl=$1
scratch=$(mktemp -d)
tm() { tmux -S "$scratch/tmux" -f /dev/null "$@"; }
# Whatever the terminal's end still ends may be at work in there for a moment.
clean_up() {
  tm kill-server 2>/dev/null || true
  until rm -rf "$scratch" 2>/dev/null; do sleep 0.1; done
}
trap clean_up EXIT

# await TEXT: waits until the screen shows it; ctest's own limit ends a wait in vain.
await() {
  until tm capture-pane -p >"$scratch/screen" 2>/dev/null && grep -qF -- "$1" "$scratch/screen"; do
    sleep 0.05
  done
}
fail() {
  printf 'FAILED: %s; the screen:\n' "$1"
  cat "$scratch/screen"
  exit 1
}

mkdir "$scratch/home" "$scratch/tmp"
openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -subj /CN=host.test \
  -addext subjectAltName=DNS:host.test -keyout "$scratch/key.pem" -out "$scratch/host.pem" \
  -days 30 2>/dev/null

cat >"$scratch/run" <<EOF
export HOME='$scratch/home' TMPDIR='$scratch/tmp' PPS_RUNTIME_DIR='$scratch/no-services'
unset NO_COLOR
PS1='ready> '
# verify NUMBER [ARGUMENT...]: its end is told by number, since screens show older ones, too.
verify() { n=\$1; shift; '$trustctl' verify --domain host.test '$scratch/host.pem' "\$@"; echo "run \$n ended: \$?"; }
EOF
LC_ALL=C.UTF-8 tm new-session -d -x 80 -y 24 "bash --noprofile --rcfile '$scratch/run' -i"
await 'ready>'

echo 'declining with Enter'
tm send-keys 'clear; verify 1' Enter
await 'Do not connect'
tm send-keys Enter
await 'run 1 ended: 1'
grep -qF 'NOT TRUSTED  host.test' "$scratch/screen" || fail 'no verdict'
[ -z "$(ls "$scratch/home")" ] || [ -z "$(ls "$scratch/home/vallorin/certexcept")" ] || fail 'stored'

echo 'always, with the second question'
tm send-keys 'clear; verify 2' Enter
await 'Always trust exactly this'
# Keys that come too early do nothing, so they are repeated until the question changes.
until grep -qF 'Go back' "$scratch/screen"; do
  tm send-keys a
  sleep 0.1
  tm capture-pane -p >"$scratch/screen"
done
grep -qF 'host.test' "$scratch/screen" || fail 'the second question does not name the domain'
until grep -qF 'run 2 ended' "$scratch/screen"; do
  tm send-keys y
  sleep 0.1
  tm capture-pane -p >"$scratch/screen"
done
await 'run 2 ended: 0'
grep -qF 'the decision is stored' "$scratch/screen" || fail 'not said to be stored'
[ "$(ls "$scratch/home/vallorin/certexcept" | wc -l)" = 1 ] || fail 'not one record'

echo 'and then without a word'
tm send-keys C-u 'clear; verify 3' Enter
await 'run 3 ended: 0'
grep -qF 'A stored decision of yours' "$scratch/screen" || fail 'not by the stored decision'
! grep -qF 'Do not connect' "$scratch/screen" || fail 'asked again'

echo 'Ctrl-C declines, and the terminal is as before'
tm send-keys 'clear; stty -a >"$TMPDIR/before"; verify 4 --alt-domain x.test --store "$HOME/other"; stty -a >"$TMPDIR/after"' Enter
await 'Do not connect'
tm send-keys C-c
await 'run 4 ended: 1'
tm send-keys 'clear; echo still $((40 + 2)) here' Enter
await 'still 42 here'
cmp "$scratch/tmp/before" "$scratch/tmp/after" || fail 'the terminal has changed'
rm "$scratch/tmp/before" "$scratch/tmp/after"
echo 'a job in the background is not asked'
tm send-keys 'clear; verify 5 --store "$HOME/other" & wait' Enter
await 'run 5 ended: 1'
grep -qF 'NOT TRUSTED  host.test' "$scratch/screen" || fail 'no verdict in the background'
! grep -qF 'declined' "$scratch/screen" || fail 'the background was asked'
tm send-keys 'exit' Enter
[ -z "$(ls "$scratch/tmp")" ] || fail "left in TMPDIR: $(ls "$scratch/tmp")"
echo 'passed'
