# Installs velmora into a prefix whose path holds a space, twice, and builds the embed example
# against it with find_package and with pkg-config.
#   static: the build tree that runs this test is installed as it is.
#   shared: a shared build (BUILD_SHARED_LIBS=ON) is configured, built and installed.
variant=$1
shift
source "$(dirname "$0")/common.sh"

prefix="$SCRATCH/prefix"
case "$variant" in
  static)
    tree=$BUILD_DIR
    ;;
  shared)
    tree="$SCRATCH/shared build"
    quietly "$CMAKE" -S "$SOURCE_DIR" -B "$tree" -DBUILD_SHARED_LIBS=ON -DVELMORA_BUILD_TESTS=OFF
    quietly "$CMAKE" --build "$tree"
    ;;
  *)
    fail "variant is static or shared, not '$variant'"
    ;;
esac

# A second install over the first changes nothing and fails nothing.
quietly "$CMAKE" --install "$tree" --prefix "$prefix"
quietly "$CMAKE" --install "$tree" --prefix "$prefix"

# ---- What lies under the prefix ----------------------------------------------------------------
headers=(check_table.h check_table_error.h check_table_findings.h string_helpers.h wlog.h zem.h
         zem_builder.h zem_xml_loader.h version.h export.h)
for header in "${headers[@]}"; do expect_file "$prefix/include/velmora/$header"; done
[ "$(ls "$prefix/include/velmora" | wc -l)" -eq "${#headers[@]}" ] ||
  fail "headers beyond the public ones: $(ls "$prefix/include/velmora")"
for file in velmoraConfig.cmake velmoraConfigVersion.cmake velmora-check-targets.cmake \
            velmora-zem-targets.cmake velmora-wlog-targets.cmake; do
  expect_file "$prefix/lib/cmake/velmora/$file"
done
expect_file "$prefix/bin/velmora-check-table"
expect_file "$prefix/share/man/man1/velmora-check-table.1"

# The component "command" is the command with its man page, and nothing else.
command_prefix="$SCRATCH/command prefix"
quietly "$CMAKE" --install "$tree" --prefix "$command_prefix" --component command
[ "$(cd "$command_prefix" && find . -type f | sort | tr '\n' ' ')" = \
  "./bin/velmora-check-table ./share/man/man1/velmora-check-table.1 " ] ||
  fail "the command component holds: $(cd "$command_prefix" && find . -type f)"
for lib in check zem wlog; do
  expect_file "$prefix/lib/pkgconfig/velmora-$lib.pc"
  if [ "$variant" = static ]; then
    expect_file "$prefix/lib/libvelmora_$lib.a"
    [ ! -e "$prefix/lib/libvelmora_$lib.so" ] || fail "a shared library in a static install"
  else
    expect_file "$prefix/lib/libvelmora_$lib.so.$VERSION"
    [ "$(readlink "$prefix/lib/libvelmora_$lib.so")" = "libvelmora_$lib.so.${VERSION%%.*}" ] ||
      fail "libvelmora_$lib.so does not link to the SONAME"
    soname=$(objdump -p "$prefix/lib/libvelmora_$lib.so.$VERSION" | awk '$1 == "SONAME" {print $2}')
    [ "$soname" = "libvelmora_$lib.so.${VERSION%%.*}" ] || fail "SONAME of $lib: '$soname'"
  fi
done

# The installed command runs from the prefix (shared: it finds its libraries beside it).
[ "$("$prefix/bin/velmora-check-table" --version)" = "velmora-check-table $VERSION" ] ||
  fail "--version of the installed command"
quietly "$prefix/bin/velmora-check-table" "$SOURCE_DIR/examples/game.xml"

# Every installed header compiles alone.
for header in "${headers[@]}"; do
  printf '#include <velmora/%s>\n' "$header" >"$SCRATCH/alone.cpp"
  quietly c++ -std=c++17 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I"$prefix/include" \
    "$SCRATCH/alone.cpp"
done

# ---- Shared libraries export their public interface only --------------------------------------
# Every global symbol a library defines, demangled, must belong to what its headers declare
# (CheckTable is exported as a class): weak definitions, the standard library's template code,
# aside.
if [ "$variant" = shared ]; then
  declare -A public=(
    [wlog]='^(wlog_category_(can_write|logv|vlogv)|WlogPriorityName)\(.*\)$|^Wlog(Memory|Stream|Serialized)Sink::'
    [zem]='^(zem_get_[a-z0-9_]+|ZemBuildMetaLib|ZemBaseTypeUnitSize|ZemLoadXml(File|Text)|Format(ZemLoadMessage|ZemByteSize)(\[abi:cxx11\])?)\(.*\)$|^ZemMetaLibDeleter::operator\(\)|^ZemSourcePlaces::'
    [check]='^(CheckResultName|VelmoraVersion|SplitString|RealCmpVersion|StringRemoveSpaces|GetAssignStrFromSourStr|IsDigit|strstri)\(.*\)$|^CheckTable::|^(Scoped)?CheckTableObserver::|^(vtable|typeinfo|typeinfo name) for CheckTableObserver$'
  )
  for lib in wlog zem check; do
    nm -D --defined-only -C "$prefix/lib/libvelmora_$lib.so" |
      awk '$2 ~ /^[TDBR]$/ { $1 = ""; $2 = ""; sub(/^  /, ""); print }' >"$SCRATCH/symbols"
    [ -s "$SCRATCH/symbols" ] || fail "libvelmora_$lib.so exports nothing"
    if grep -Ev "${public[$lib]}" "$SCRATCH/symbols" >"$SCRATCH/extra"; then
      fail "libvelmora_$lib.so exports more than its interface: $(cat "$SCRATCH/extra")"
    fi
  done
  # The checker comes without any log library: a host links its own or velmora_wlog.
  if objdump -p "$prefix/lib/libvelmora_check.so" | grep -q 'NEEDED.*velmora_wlog'; then
    fail "libvelmora_check.so needs libvelmora_wlog.so"
  fi
fi

# ---- The package as find_package sees it -------------------------------------------------------
probe="$SCRATCH/probe"
mkdir -p "$probe"
probe_find() {
  printf 'cmake_minimum_required(VERSION 3.25)\nproject(probe LANGUAGES CXX)\n%s\n' "$1" \
    >"$probe/CMakeLists.txt"
  rm -rf "$probe/build"
  "$CMAKE" -S "$probe" -B "$probe/build" -DCMAKE_PREFIX_PATH="$prefix" >"$probe/log" 2>&1
}
probe_find 'find_package(velmora 1.0 CONFIG REQUIRED COMPONENTS wlog)
if(NOT TARGET velmora::wlog OR TARGET velmora::check)
  message(FATAL_ERROR "wrong targets")
endif()' || { cat "$probe/log" >&2; fail "find_package of the wlog component alone"; }
probe_find 'find_package(velmora 1.0 CONFIG REQUIRED COMPONENTS check)
if(NOT TARGET velmora::zem OR NOT TARGET velmora::check)
  message(FATAL_ERROR "wrong targets")
endif()' || { cat "$probe/log" >&2; fail "find_package of the check component"; }
! probe_find 'find_package(velmora 1.0 CONFIG REQUIRED COMPONENTS check mystery)' ||
  fail "find_package accepted an unknown component"
! probe_find 'find_package(velmora 2.0 CONFIG REQUIRED)' ||
  fail "find_package accepted version 2.0"

# ---- The embed example, with find_package and with pkg-config ---------------------------------
quietly "$CMAKE" -S "$SOURCE_DIR/examples/embed" -B "$SCRATCH/embed package" \
  -DCMAKE_PREFIX_PATH="$prefix"
quietly "$CMAKE" --build "$SCRATCH/embed package"
check_embed "$SCRATCH/embed package/velmora-embed" "$variant, find_package"

PKG_CONFIG_PATH="$prefix/lib/pkgconfig" quietly "$CMAKE" -S "$SOURCE_DIR/examples/embed" \
  -B "$SCRATCH/embed pkg-config" -DVELMORA_FROM=pkg-config
quietly "$CMAKE" --build "$SCRATCH/embed pkg-config"
check_embed "$SCRATCH/embed pkg-config/velmora-embed" "$variant, pkg-config"
