# `cpack -G DEB` makes one Debian package of everything `cmake --install` puts under /usr: the
# command, the libraries, the headers, the CMake package and the pkg-config files. Its Depends
# come from dpkg-shlibdeps, which reads the shared libraries the command and our own shared
# libraries are linked with.
set(VELMORA_PACKAGE_CONTACT "Velmora table store team <velmora@localhost>"
  CACHE STRING "Maintainer of the Debian package")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME velmora)
set(CPACK_PACKAGE_VENDOR Velmora)
set(CPACK_PACKAGE_CONTACT "${VELMORA_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "Table definition checker of the Velmora table store: velmora-check-table and its libraries")
set(CPACK_PACKAGE_DESCRIPTION
  "velmora-check-table checks ZEM XML schema files the way the Velmora table store does before it creates or changes a table. The package also holds the libraries velmora-check, velmora-zem and velmora-wlog with their headers, CMake package and pkg-config files.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
if(BUILD_SHARED_LIBS)
  # The command links our own shared libraries, which this package itself holds.
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
else()
  # A host linking the static schema library links pugixml too.
  set(CPACK_DEBIAN_PACKAGE_RECOMMENDS libpugixml-dev)
endif()
include(CPack)
