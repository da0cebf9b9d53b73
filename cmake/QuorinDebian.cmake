# Debian packages: `cpack -G DEB` in a build that was configured with CMAKE_INSTALL_PREFIX=/usr (presets debian, armhf).
set(QUORIN_RELEASE_DATE "Sat, 21 Nov 2026 12:00:00 +0000" CACHE STRING "Date of the release, as Debian changelogs write it")
mark_as_advanced(QUORIN_RELEASE_DATE)

set(library_package libmd-common-quorin${QUORIN_SOVERSION})
set(debian "${PROJECT_SOURCE_DIR}/packaging/debian")
set(made "${PROJECT_BINARY_DIR}/debian")
configure_file("${debian}/changelog.in" "${made}/changelog" @ONLY)
execute_process(COMMAND gzip -9nkf "${made}/changelog" COMMAND_ERROR_IS_FATAL ANY)
file(WRITE "${made}/triggers" "activate-noawait ldconfig\n")
file(WRITE "${made}/shlibs" "")
foreach(library libmd-common-quorin libmd-platform-host libmd-platform-host-http libmd-platform-host-mounts)
  file(APPEND "${made}/shlibs" "${library} ${QUORIN_SOVERSION} ${library_package} (>= ${PROJECT_VERSION})\n")
endforeach()

foreach(pair runtime:${library_package} dev:libmd-common-quorin-dev command:quorin)
  string(REPLACE ":" ";" pair ${pair})
  list(GET pair 0 component)
  list(GET pair 1 package)
  string(TOUPPER ${component} COMPONENT)
  set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME ${package})
  set(documentation "${CMAKE_INSTALL_DATADIR}/doc/${package}")
  install(FILES "${made}/changelog.gz" DESTINATION "${documentation}" COMPONENT ${component} EXCLUDE_FROM_ALL)
  install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${documentation}" RENAME copyright COMPONENT ${component}
    EXCLUDE_FROM_ALL)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "libmd-common-quorin authors <md-common-quorin@example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS "${debian}/prepare.cmake")
set(CPACK_COMPONENTS_ALL runtime dev command)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # would be the first line of each
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "media analysis library - shared libraries
Finds out what is behind a URI: a redirect, a playlist, a folder, or an audio
stream, described exact to the byte, from a few kilobytes of it.")
set(CPACK_COMPONENT_DEV_DESCRIPTION "media analysis library - development files
Headers, CMake package and pkg-config flags to build programs with
${library_package}.")
set(CPACK_COMPONENT_COMMAND_DESCRIPTION "tells what media files and streams are
Analyses files, web addresses and live streams, whole collections as well;
copies embedded pictures, maps what lies where, plays streams, and makes
reports.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${made}/triggers" "${made}/shlibs")

set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION}), libboost-dev (>= 1.73)")
set(CPACK_DEBIAN_COMMAND_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION})")
if(CMAKE_CROSSCOMPILING)
  # dpkg-shlibdeps does not know the packages of a sysroot: what it finds natively, by hand.
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
  set(cxx "libc6 (>= 2.36), libgcc-s1 (>= 3.5), libstdc++6 (>= 12)")
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "${cxx}, libcurl4 (>= 7.88), libmount1 (>= 2.38)")
  string(APPEND CPACK_DEBIAN_COMMAND_PACKAGE_DEPENDS ", ${cxx}, libcurl4 (>= 7.88), libfmt9 (>= 9.1.0)")
else()
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_COMMAND_PACKAGE_SHLIBDEPS ON)
  # libcurl is looked up while the program runs, which dpkg-shlibdeps cannot see.
  string(APPEND CPACK_DEBIAN_COMMAND_PACKAGE_DEPENDS ", libcurl4 (>= 7.88)")
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
endif()
include(CPack)
