# What all our targets share. Call it once on every library and program:
#   trustlib_target(<target> STD <14|17|20> [LIBRARY_NAME <alias>])
# It sets the language level, the warnings, hidden symbols, the project's root
# as include path, 64-bit times and file sizes, and the sanitizers; LIBRARY_NAME
# adds the alias trustlib::<alias>.
function(trustlib_target target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "STD;LIBRARY_NAME" "")
  set_target_properties(${target} PROPERTIES
    CXX_STANDARD ${arg_STD} CXX_STANDARD_REQUIRED ON CXX_EXTENSIONS OFF
    C_STANDARD 11 C_STANDARD_REQUIRED ON
    CXX_VISIBILITY_PRESET hidden C_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON)
  # Installed anywhere, a library finds its sisters beside itself and a program in lib.
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "EXECUTABLE")
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  else()
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN")
  endif()
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic
                         $<$<BOOL:${TRUSTLIB_WERROR}>:-Werror>)
  # Without these a 32-bit program stops in 2038, and at files that are large or dated later. No
  # interface of ours has either type, and no library is handed one; a platform of its own may.
  if(TRUSTLIB_PLATFORM STREQUAL "linux" AND CMAKE_SIZEOF_VOID_P EQUAL 4)
    target_compile_definitions(${target} PRIVATE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
  endif()
  # A build against OpenSSL 3 cannot even see what is deprecated there.
  if(OPENSSL_VERSION VERSION_GREATER_EQUAL 3.0)
    target_compile_definitions(${target} PRIVATE OPENSSL_API_COMPAT=30000 OPENSSL_NO_DEPRECATED)
  endif()
  target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
  if(TRUSTLIB_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${TRUSTLIB_SANITIZE}
                           -fno-omit-frame-pointer -fno-sanitize-recover=all)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
      target_compile_options(${target} PRIVATE
        "-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/sanitizer-ignorelist.txt")
    endif()
    target_link_options(${target} PRIVATE -fsanitize=${TRUSTLIB_SANITIZE})
    if(TRUSTLIB_SANITIZE STREQUAL "thread" AND type STREQUAL "EXECUTABLE")
      target_sources(${target} PRIVATE "${PROJECT_SOURCE_DIR}/cmake/FirstWait.cpp")
    endif()
  endif()
  if(COMMAND use_common_headers AND type STREQUAL "STATIC_LIBRARY" AND arg_STD EQUAL 20)
    use_common_headers(${target})
  endif()
  if(arg_LIBRARY_NAME)
    add_library(trustlib::${arg_LIBRARY_NAME} ALIAS ${target})
  endif()
endfunction()
