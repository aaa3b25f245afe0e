# Installs the library for find_package(trustlib) and for pkg-config. Programs install
# themselves, each in its own folder's CMakeLists.txt.
include(CMakePackageConfigHelpers)

set(installed_libraries trust)
if(TRUSTLIB_PLATFORM STREQUAL "linux")
  list(APPEND installed_libraries ppsopen)
endif()
install(TARGETS ${installed_libraries} EXPORT trustlibTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
foreach(header IN LISTS TRUSTLIB_PUBLIC_HEADERS)
  get_filename_component(folder "${header}" DIRECTORY)
  install(FILES "${PROJECT_SOURCE_DIR}/trustlib/${header}"
          DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/trustlib/${folder}")
endforeach()

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/trustlib")
install(EXPORT trustlibTargets NAMESPACE trustlib:: DESTINATION "${package_folder}")
file(WRITE "${PROJECT_BINARY_DIR}/trustlibConfig.cmake"
     "include(\"\${CMAKE_CURRENT_LIST_DIR}/trustlibTargets.cmake\")\n")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/trustlibConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/trustlibConfig.cmake"
              "${PROJECT_BINARY_DIR}/trustlibConfigVersion.cmake"
        DESTINATION "${package_folder}")

configure_file("${PROJECT_SOURCE_DIR}/cmake/trustlib.pc.in" "${PROJECT_BINARY_DIR}/trustlib.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/trustlib.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
