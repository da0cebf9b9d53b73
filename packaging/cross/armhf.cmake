# 32-bit ARM hard-float. QUORIN_ARMHF_SYSROOT (variable or environment) is the absolute path of a sysroot that
# make_armhf_sysroot.sh filled; by default build/armhf-sysroot of this tree.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)

if(NOT DEFINED QUORIN_ARMHF_SYSROOT)
  if(DEFINED ENV{QUORIN_ARMHF_SYSROOT})
    set(QUORIN_ARMHF_SYSROOT "$ENV{QUORIN_ARMHF_SYSROOT}")
  else()
    cmake_path(ABSOLUTE_PATH CMAKE_CURRENT_LIST_DIR OUTPUT_VARIABLE here)
    cmake_path(SET QUORIN_ARMHF_SYSROOT NORMALIZE "${here}/../../build/armhf-sysroot")
  endif()
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QUORIN_ARMHF_SYSROOT)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_SYSROOT "${QUORIN_ARMHF_SYSROOT}")
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

# Headers and libraries come from the sysroot alone; without this the build machine's pkg-config answers leak in.
set(CMAKE_FIND_ROOT_PATH "${CMAKE_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind LIBRARY INCLUDE PACKAGE)
  set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR} "${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")

# The Cortex-A9 has no division instruction, so code built for a newer core shows at once. LeakSanitizer cannot work
# under qemu and has to be told so in the real environment.
set(CMAKE_CROSSCOMPILING_EMULATOR
  "/usr/bin/env;ASAN_OPTIONS=detect_leaks=0;qemu-arm-static;-cpu;cortex-a9;-L;${CMAKE_SYSROOT}")
