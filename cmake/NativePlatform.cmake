# On a target with a codec, a toolkit and control objects of its own only the library is
# built, against these:
set(TRUSTLIB_NATIVE_INCLUDE_DIR "" CACHE PATH
    "Folder with platform/ppscodec/ppscodec.h and platform/toolkit/toolkit.h over the platform's own headers")
set(TRUSTLIB_NATIVE_LIBRARIES "" CACHE STRING "The platform's codec and toolkit libraries")

if(NOT TRUSTLIB_NATIVE_INCLUDE_DIR OR NOT TRUSTLIB_NATIVE_LIBRARIES)
  message(FATAL_ERROR "TRUSTLIB_PLATFORM=native needs TRUSTLIB_NATIVE_INCLUDE_DIR and TRUSTLIB_NATIVE_LIBRARIES")
endif()

add_library(trustlib_native_platform INTERFACE)
add_library(trustlib::native_platform ALIAS trustlib_native_platform)
target_include_directories(trustlib_native_platform BEFORE INTERFACE "${TRUSTLIB_NATIVE_INCLUDE_DIR}")
target_link_libraries(trustlib_native_platform INTERFACE ${TRUSTLIB_NATIVE_LIBRARIES})
