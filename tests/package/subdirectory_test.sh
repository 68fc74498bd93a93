# Builds the embed example with velmora's source tree as a subdirectory of its build: only the
# libraries are built, nothing is installed or tested, and the log lines still name velmora's
# source files relative to velmora's own tree.
source "$(dirname "$0")/common.sh"

tree="$SCRATCH/embed source"
quietly "$CMAKE" -S "$SOURCE_DIR/examples/embed" -B "$tree" -DVELMORA_FROM=source \
  -DVELMORA_SOURCE_DIR="$SOURCE_DIR"
for option in VELMORA_BUILD_TESTS VELMORA_BUILD_COMMAND VELMORA_INSTALL; do
  grep -qx "$option:BOOL=OFF" "$tree/CMakeCache.txt" || fail "$option is not OFF in a host's build"
done
quietly "$CMAKE" --build "$tree"
[ ! -e "$tree/velmora/velmora-check-table" ] || fail "the command was built in a host's build"
[ ! -e "$tree/velmora/tests" ] || fail "the tests were configured in a host's build"
check_embed "$tree/velmora-embed" "subdirectory"
