# Shell helpers shared by the scripts in this folder; source it, do not run it.
# shellcheck shell=bash
# shellcheck disable=SC2034  # the lists are for the scripts that source this file

# What building takes, and what testing takes besides, as Debian packages.
build_packages=(g++ cmake ninja-build ccache libssl-dev openssl ca-certificates rapidjson-dev
  libasio-dev libcli11-dev libfmt-dev libicu-dev libncurses-dev libseccomp-dev)
test_packages=(libgtest-dev libgmock-dev libbenchmark-dev valgrind tmux mandoc libgnutls28-dev
  python3-cryptography-vectors gdb-multiarch)
# The same for 32-bit ARM: what its sysroot has, and the tools that this machine needs.
armhf_packages=(libc6-dev libstdc++-12-dev libssl-dev rapidjson-dev libasio-dev libcli11-dev libfmt-dev
  libicu-dev libncurses-dev libseccomp-dev libgtest-dev libgmock-dev libbenchmark-dev
  libgnutls28-dev)
armhf_tools=(g++-arm-linux-gnueabihf qemu-user-static)

# fail TEXT: says what failed and what to do next, and ends the script.
fail() {
  printf '%s: %s\n' "${0##*/}" "$1" >&2
  exit 1
}

# missing_packages NAME...: prints those that are not installed, one a line.
missing_packages() {
  local name
  for name in "$@"; do
    if [[ $(dpkg-query -W -f='${db:Status-Status}' "$name" 2>/dev/null) != installed ]]; then
      printf '%s\n' "$name"
    fi
  done
}

# run_logged LOG COMMAND...: runs the command silently; shows the end of its output when it fails.
run_logged() {
  local log=$1
  shift
  if ! "$@" >>"$log" 2>&1 </dev/null; then
    tail -n 20 "$log" >&2
    fail "'$*' failed; the last lines of its output stand above"
  fi
}

# as_root COMMAND...: runs it as root, through sudo where need be.
as_root() {
  if ((EUID == 0)); then
    "$@"
  else
    sudo "$@"
  fi
}

# install_packages LOG NAME...: installs what is missing, as root or through sudo, and asks
# nothing. Touches neither network nor system when nothing is missing.
install_packages() {
  local log=$1
  shift
  if ! command -v dpkg-query >/dev/null; then
    printf 'This is no Debian system: please see to these yourself: %s\n' "$*"
    return
  fi
  local missing
  mapfile -t missing < <(missing_packages "$@")
  if ((${#missing[@]} == 0)); then
    return
  fi
  if ((EUID != 0)); then
    command -v sudo >/dev/null ||
      fail "these packages are missing, and there is no sudo; as root run: apt-get install ${missing[*]}"
    sudo -v # asks for the password while it can be seen
  fi
  printf 'Installing: %s\n' "${missing[*]}"
  run_logged "$log" as_root apt-get -q update
  run_logged "$log" as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get -q -y --no-install-recommends install "${missing[@]}"
}

# configure_and_build PRESET: one preset of CMakePresets.json, from the project's root; shows
# what goes wrong, and otherwise only that it works. The rest is in build/PRESET.log.
configure_and_build() {
  local log=build/$1.log
  mkdir -p build
  : >"$log"
  printf 'Building the %s preset\n' "$1"
  run_logged "$log" cmake --preset "$1"
  run_logged "$log" cmake --build --preset "$1"
}

# run_tests PRESET [CTEST-ARGUMENT...]: ctest, and then what the test cases that share a process
# left out or made smaller, which ctest does not show.
run_tests() {
  local log=build/$1/Testing/Temporary/LastTest.log
  ctest --preset "$@"
  printf 'Left out or smaller in this build:\n'
  # A case that is skipped has a line with its place, and the reason in the next.
  { grep -A 1 ': Skipped$' "$log" | grep -v -e ': Skipped$' -e '^--$' | sort | uniq -c
    grep -o 'smaller here: .*' "$log" | sort | uniq -c; } || true
}

# register_emulator: has the kernel start programs for 32-bit ARM through the emulator, so that our
# programs can start each other. On a running Debian the package sees to that. Wants the sysroot.
register_emulator() {
  local registry=/proc/sys/fs/binfmt_misc rule=/usr/lib/binfmt.d/qemu-arm.conf
  local program=build/armhf-sysroot/lib/ld-linux-armhf.so.3
  if "$program" --version >/dev/null 2>&1; then
    return
  fi
  printf 'Registering the emulator with the kernel\n'
  if [[ ! -e $registry/register ]]; then
    as_root mount -t binfmt_misc binfmt_misc "$registry" || true
  fi
  as_root sh -c "cat '$rule' >'$registry/register'" || true
  "$program" --version >/dev/null ||
    fail "the kernel cannot be told of the emulator here; in a container, outside of it as root:
  apt-get install qemu-user-static binfmt-support"
}
