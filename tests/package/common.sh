# Shared by the package tests: the arguments every test gets, a scratch folder whose path holds
# a space, and the run of the embed example compared with its expected output.
#
# Arguments: SOURCE_DIR BUILD_DIR CMAKE VERSION [more, read by the test itself]
set -euo pipefail

SOURCE_DIR=$1
BUILD_DIR=$2
CMAKE=$3
VERSION=$4
shift 4
HERE=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

# The builds below are our own, not part of whatever make runs ctest.
unset MAKEFLAGS MFLAGS MAKELEVEL
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-2}

SCRATCH=$(mktemp -d "${TMPDIR:-/tmp}/velmora package.XXXXXX")
trap 'rm -rf "$SCRATCH"' EXIT

fail() {
  echo "FAIL: $*" >&2
  exit 1
}

# Runs a command quietly; on failure shows what it printed.
quietly() {
  local log="$SCRATCH/last-command.log"
  if ! "$@" >"$log" 2>&1; then
    cat "$log" >&2
    fail "$*"
  fi
}

expect_file() {
  [ -e "$1" ] || fail "missing: $1"
}

# check_embed EXE LABEL: runs the example on the two example schemas. Its verdicts must be the
# expected ones, and its log lines too, source line numbers aside: every line names the source
# file of the check that wrote it, relative to the project (never the host's tree).
check_embed() {
  local exe=$1 label=$2 schema status expected_status
  for schema in game broken; do
    status=0
    (cd "$SOURCE_DIR" && "$exe" "examples/$schema.xml") >"$SCRATCH/out" 2>"$SCRATCH/err" ||
      status=$?
    expected_status=0
    [ "$schema" = broken ] && expected_status=1
    [ "$status" -eq "$expected_status" ] ||
      { cat "$SCRATCH/err" >&2; fail "$label: exit status $status on $schema.xml"; }
    [ "$(head -n 1 "$SCRATCH/out")" = "velmora $VERSION (headers $VERSION)" ] ||
      fail "$label: version line '$(head -n 1 "$SCRATCH/out")'"
    tail -n +2 "$SCRATCH/out" | sed -E 's/\.cpp\([0-9]+\)-</.cpp(N)-</' |
      diff -u "$HERE/embed_$schema.out" - ||
      fail "$label: verdicts on $schema.xml"
    sed -E 's/^([A-Z]+ [^ :]+):[0-9]+ /\1:N /; s/\.cpp\([0-9]+\)-</.cpp(N)-</' "$SCRATCH/err" |
      diff -u "$HERE/embed_$schema.err" - ||
      fail "$label: log lines on $schema.xml"
  done
  echo "ok: $label"
}
