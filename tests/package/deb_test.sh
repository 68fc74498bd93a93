# Makes the Debian package of the build tree that runs this test, unpacks it, runs the command
# from it, and builds the embed example against the CMake package it holds.
#   Extra argument: CPACK
source "$(dirname "$0")/common.sh"
CPACK=$1

quietly "$CPACK" -G DEB --config "$BUILD_DIR/CPackConfig.cmake" -B "$SCRATCH/packages"
deb="$SCRATCH/packages/velmora_${VERSION}_$(dpkg --print-architecture).deb"
expect_file "$deb"

[ "$(dpkg-deb -f "$deb" Package)" = velmora ] || fail "package name"
[ "$(dpkg-deb -f "$deb" Version)" = "$VERSION" ] || fail "package version"
depends=$(dpkg-deb -f "$deb" Depends)
for runtime in libc6 libstdc++6 libpugixml1v5; do
  [[ ", $depends," == *", $runtime "* || ", $depends," == *", $runtime,"* ]] ||
    fail "Depends lacks $runtime: $depends"
done

dpkg-deb -c "$deb" | awk '{print $NF}' >"$SCRATCH/contents"
for path in ./usr/bin/velmora-check-table ./usr/share/man/man1/velmora-check-table.1 \
            ./usr/include/velmora/check_table.h \
            ./usr/include/velmora/version.h ./usr/lib/libvelmora_check.a \
            ./usr/lib/libvelmora_zem.a ./usr/lib/libvelmora_wlog.a \
            ./usr/lib/cmake/velmora/velmoraConfig.cmake \
            ./usr/lib/cmake/velmora/velmoraConfigVersion.cmake \
            ./usr/lib/pkgconfig/velmora-check.pc ./usr/lib/pkgconfig/velmora-zem.pc \
            ./usr/lib/pkgconfig/velmora-wlog.pc; do
  grep -qx "$path" "$SCRATCH/contents" || fail "the package lacks $path"
done

root="$SCRATCH/root"
dpkg-deb -x "$deb" "$root"
command="$root/usr/bin/velmora-check-table"
[ "$("$command" --version)" = "velmora-check-table $VERSION" ] || fail "--version from the package"
# The packaged command reports exactly what the built one does.
(cd "$SOURCE_DIR" && "$BUILD_DIR/velmora-check-table" examples/game.xml) >"$SCRATCH/built.txt"
(cd "$SOURCE_DIR" && "$command" examples/game.xml) >"$SCRATCH/packaged.txt" ||
  fail "the packaged command failed on examples/game.xml"
diff -u "$SCRATCH/built.txt" "$SCRATCH/packaged.txt" || fail "the packaged command reports otherwise"
echo "ok: packaged command"

# The CMake package finds its prefix from its own place, so the unpacked tree works as one.
quietly "$CMAKE" -S "$SOURCE_DIR/examples/embed" -B "$SCRATCH/embed deb" \
  -DCMAKE_PREFIX_PATH="$root/usr"
quietly "$CMAKE" --build "$SCRATCH/embed deb"
check_embed "$SCRATCH/embed deb/velmora-embed" "unpacked package, find_package"
