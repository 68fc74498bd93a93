# What `cmake --install` puts under the prefix: the three libraries, the public headers, the
# command with its man page (the install component "command"), a CMake package
# (find_package(velmora 1.0 CONFIG REQUIRED COMPONENTS check zem wlog)) and one pkg-config file
# per library. Every file that names a location finds the prefix from
# its own place, so an installed tree may be moved, and the Debian package installs it under /usr.
include(CMakePackageConfigHelpers)

set(VELMORA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/velmora)
set(VELMORA_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/velmora DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES
  ${VELMORA_GENERATED_INCLUDE_DIR}/velmora/version.h
  ${VELMORA_GENERATED_INCLUDE_DIR}/velmora/export.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/velmora)

# One export set per library, so that a host asking only for the log library needs nothing the
# schema library depends on.
foreach(lib wlog zem check)
  install(TARGETS velmora_${lib} EXPORT velmora-${lib}-targets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(EXPORT velmora-${lib}-targets
    NAMESPACE velmora::
    DESTINATION ${VELMORA_CMAKE_DIR})
endforeach()

if(TARGET velmora-check-table)
  # The installed command finds the installed shared libraries beside it, wherever the prefix is.
  if(BUILD_SHARED_LIBS)
    file(RELATIVE_PATH velmora_bin_to_lib
      ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(velmora-check-table PROPERTIES INSTALL_RPATH "$ORIGIN/${velmora_bin_to_lib}")
  endif()
  install(TARGETS velmora-check-table RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT command)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/velmora-check-table.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT command)
endif()

# ---- CMake package ------------------------------------------------------------------------------
# A static velmora::zem brings its private dependencies to the host's link line, so the package
# finds them for the host; shared libraries carry them themselves.
if(BUILD_SHARED_LIBS)
  set(VELMORA_STATIC_ZEM OFF)
else()
  set(VELMORA_STATIC_ZEM ON)
endif()
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/velmoraConfig.cmake.in
  ${PROJECT_BINARY_DIR}/velmoraConfig.cmake
  INSTALL_DESTINATION ${VELMORA_CMAKE_DIR})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/velmoraConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/velmoraConfig.cmake
  ${PROJECT_BINARY_DIR}/velmoraConfigVersion.cmake
  DESTINATION ${VELMORA_CMAKE_DIR})

# ---- pkg-config ---------------------------------------------------------------------------------
# prefix is found from the .pc file's own folder (pkg-config's pcfiledir).
if(IS_ABSOLUTE ${VELMORA_PKGCONFIG_DIR})
  set(VELMORA_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH velmora_pc_up /prefix/${VELMORA_PKGCONFIG_DIR} /prefix)
  string(REGEX REPLACE "/$" "" velmora_pc_up "${velmora_pc_up}")
  set(VELMORA_PC_PREFIX "\${pcfiledir}/${velmora_pc_up}")
endif()
foreach(dir INCLUDEDIR LIBDIR)
  if(IS_ABSOLUTE ${CMAKE_INSTALL_${dir}})
    set(VELMORA_PC_${dir} ${CMAKE_INSTALL_${dir}})
  else()
    set(VELMORA_PC_${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
  endif()
endforeach()

# velmora_pc_file(LIB DESCRIPTION [REQUIRES ...] [REQUIRES_PRIVATE ...] [LIBS_PRIVATE ...])
function(velmora_pc_file lib description)
  cmake_parse_arguments(PC "" "" "REQUIRES;REQUIRES_PRIVATE;LIBS_PRIVATE" ${ARGN})
  set(VELMORA_PC_NAME velmora-${lib})
  set(VELMORA_PC_DESCRIPTION "${description}")
  set(VELMORA_PC_LIBRARY velmora_${lib})
  set(VELMORA_PC_EXTRA "")
  if(PC_REQUIRES)
    list(JOIN PC_REQUIRES ", " text)
    string(APPEND VELMORA_PC_EXTRA "Requires: ${text}\n")
  endif()
  if(PC_REQUIRES_PRIVATE)
    list(JOIN PC_REQUIRES_PRIVATE ", " text)
    string(APPEND VELMORA_PC_EXTRA "Requires.private: ${text}\n")
  endif()
  if(PC_LIBS_PRIVATE)
    list(JOIN PC_LIBS_PRIVATE " " text)
    string(APPEND VELMORA_PC_EXTRA "Libs.private: ${text}\n")
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/velmora.pc.in
    ${PROJECT_BINARY_DIR}/pkgconfig/velmora-${lib}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/pkgconfig/velmora-${lib}.pc DESTINATION ${VELMORA_PKGCONFIG_DIR})
endfunction()

set(velmora_iconv_libs "")
if(NOT Iconv_IS_BUILT_IN)
  set(velmora_iconv_libs -liconv)
endif()
velmora_pc_file(wlog "WLOG log category and sinks of the Velmora table checker")
velmora_pc_file(zem "ZEM schema model, builder and XML loader of the Velmora table checker"
  REQUIRES_PRIVATE pugixml
  LIBS_PRIVATE ${velmora_iconv_libs})
# The checker's headers include the schema model's; the log library is the host's choice.
velmora_pc_file(check "Velmora table definition checker (link a WLOG library too, e.g. velmora-wlog)"
  REQUIRES "velmora-zem = ${PROJECT_VERSION}")

# The Debian package is ours to make only when velmora is the top-level project: a host that
# installs velmora with its own build packages it its own way.
if(PROJECT_IS_TOP_LEVEL)
  include(${PROJECT_SOURCE_DIR}/cmake/VelmoraPackage.cmake)
endif()
