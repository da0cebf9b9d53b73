# What programs outside of this tree build against: the libraries, their headers, a CMake package and pkg-config flags.
include(CMakePackageConfigHelpers)

# quorin_install_library(NAME): the library of the target, and the target in the CMake package.
function(quorin_install_library name)
  install(TARGETS ${name} EXPORT md-common-quorin
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT dev
    ARCHIVE COMPONENT dev)
endfunction()

# quorin_install_package(): the CMake package md-common-quorin and md-common-quorin.pc.
function(quorin_install_package)
  set(templates "${PROJECT_SOURCE_DIR}/packaging/cmake")
  set(destination "${CMAKE_INSTALL_LIBDIR}/cmake/md-common-quorin")
  install(EXPORT md-common-quorin NAMESPACE md:: FILE md-common-quorin-targets.cmake DESTINATION "${destination}"
    COMPONENT dev)
  configure_package_config_file("${templates}/md-common-quorin-config.cmake.in" md-common-quorin-config.cmake
    INSTALL_DESTINATION "${destination}" NO_SET_AND_CHECK_MACRO)
  # Before 1.0 each minor version may change what a program sees.
  write_basic_package_version_file(md-common-quorin-config-version.cmake COMPATIBILITY SameMinorVersion)
  install(FILES "${PROJECT_BINARY_DIR}/md-common-quorin-config.cmake"
    "${PROJECT_BINARY_DIR}/md-common-quorin-config-version.cmake" DESTINATION "${destination}" COMPONENT dev)

  if(QUORIN_PLATFORM STREQUAL host)
    set(pkgconfig "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
    file(RELATIVE_PATH up "/${pkgconfig}" /)
    # Public even so, because a static library does not say by itself what it has to be linked with.
    set(requires "")
    if(NOT BUILD_SHARED_LIBS)
      set(requires "libcurl mount")
    endif()
    configure_file("${templates}/md-common-quorin.pc.in" md-common-quorin.pc @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/md-common-quorin.pc" DESTINATION "${pkgconfig}" COMPONENT dev)
  endif()
endfunction()
