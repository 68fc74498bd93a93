# What scripts/install-deps.sh says where it cannot install: as a user other than root, it prints
# the one apt-get command to run; without Debian's package tools, it names the packages. Neither
# installs anything, and both stop with exit status 1. Stand-ins for dpkg-query, apt-get, sudo and
# id on PATH play the system.
set -euo pipefail
script="$1/scripts/install-deps.sh"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

# A system of the given tools: each is a stand-in, except grep, which the script really uses.
system_with() {
  local dir="$scratch/$1"
  shift
  mkdir -p "$dir"
  ln -sf "$(command -v grep)" "$dir/grep"
  for tool in "$@"; do
    case "$tool" in
      id) printf '#!/bin/sh\necho 1000\n' >"$dir/id" ;;  # not root
      dpkg-query) printf '#!/bin/sh\nexit 1\n' >"$dir/dpkg-query" ;;  # nothing installed
      *) printf '#!/bin/sh\necho "%s must not run" >&2\nexit 9\n' "$tool" >"$dir/$tool" ;;
    esac
    chmod +x "$dir/$tool"
  done
  echo "$dir"
}

packages="cmake make g++ libpugixml-dev nlohmann-json3-dev libcli11-dev libtomlplusplus-dev \
libgtest-dev libgmock-dev libbenchmark-dev pkgconf dpkg-dev file clang-tidy clang libclang-rt-dev gcovr npm"

# A user on a Debian system without sudo.
path=$(system_with user id dpkg-query apt-get)
status=0
PATH="$path" "$BASH" "$script" >"$scratch/out" 2>"$scratch/err" || status=$?
[ "$status" -eq 1 ] || fail "a user: exit status $status"
[ ! -s "$scratch/out" ] || fail "a user: standard output: $(cat "$scratch/out")"
expected="The build needs Debian packages that are missing. Run, as root:
  apt-get update && apt-get install -y --no-install-recommends $packages"
[ "$(cat "$scratch/err")" = "$expected" ] || fail "a user is told: $(cat "$scratch/err")"

# A user on a Debian system with sudo.
path=$(system_with sudo-user id dpkg-query apt-get sudo)
PATH="$path" "$BASH" "$script" 2>"$scratch/err" && fail "a user with sudo: exit status 0"
grep -qx "  sudo apt-get update && sudo apt-get install -y --no-install-recommends $packages" \
  "$scratch/err" || fail "a user with sudo is told: $(cat "$scratch/err")"

# No dpkg-query: whoever runs it, nothing is installed.
path=$(system_with other apt-get)
status=0
PATH="$path" "$BASH" "$script" >"$scratch/out" 2>"$scratch/err" || status=$?
[ "$status" -eq 1 ] || fail "no dpkg-query: exit status $status"
expected="This is not a Debian system (no dpkg-query or apt-get). The build needs these Debian
packages, or your system's own packages of the same: $packages"
[ "$(cat "$scratch/err")" = "$expected" ] || fail "without dpkg-query: $(cat "$scratch/err")"
echo "ok: install-deps.sh stops with what to do"
