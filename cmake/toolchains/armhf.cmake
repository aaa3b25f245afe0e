# Builds for 32-bit ARM Linux with hardware floating point, against build/armhf-sysroot
# (scripts/armhf-sysroot makes it) or the sysroot that CMAKE_SYSROOT names.
#   -DTRUSTLIB_ARMHF_COMPILER=clang takes clang in place of g++, which links with a C library and a
#   C++ runtime of its own and takes the other libraries from the sysroot
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CMAKE_SYSROOT TRUSTLIB_ARMHF_COMPILER)

if(NOT CMAKE_SYSROOT)
  set(CMAKE_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../../build/armhf-sysroot")
endif()
cmake_path(ABSOLUTE_PATH CMAKE_SYSROOT NORMALIZE)
if(NOT EXISTS "${CMAKE_SYSROOT}/usr/include")
  message(FATAL_ERROR "${CMAKE_SYSROOT} is no sysroot; run scripts/armhf-sysroot, which makes one")
endif()

if(TRUSTLIB_ARMHF_COMPILER STREQUAL "clang")
  set(CMAKE_C_COMPILER clang)
  set(CMAKE_CXX_COMPILER clang++)
  set(CMAKE_C_COMPILER_TARGET ${CMAKE_LIBRARY_ARCHITECTURE})
  set(CMAKE_CXX_COMPILER_TARGET ${CMAKE_LIBRARY_ARCHITECTURE})
else()
  set(CMAKE_C_COMPILER ${CMAKE_LIBRARY_ARCHITECTURE}-gcc)
  set(CMAKE_CXX_COMPILER ${CMAKE_LIBRARY_ARCHITECTURE}-g++)
  # It tells of every call that GCC 6 passed its arguments otherwise to.
  set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")
endif()

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR}
    "${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
