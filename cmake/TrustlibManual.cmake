# Manual pages and completion, written by the programs themselves, so that they cannot tell of
# options that are not there. Cross-building takes an emulator (CMAKE_CROSSCOMPILING_EMULATOR).
if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
  message(STATUS "No manual pages: the programs cannot be run here")
  return()
endif()

set(share "${PROJECT_BINARY_DIR}/share")
set(completions "${share}/bash-completion/completions")
add_custom_command(
  OUTPUT "${share}/man1.stamp" "${completions}/trustctl"
  COMMAND ${CMAKE_COMMAND} -E rm -rf "${share}/man/man1"
  COMMAND ${CMAKE_COMMAND} -E make_directory "${share}/man/man1" "${completions}"
  COMMAND trustctl manual "${share}/man/man1"
  COMMAND trustctl completion bash > "${completions}/trustctl"
  COMMAND ${CMAKE_COMMAND} -E touch "${share}/man1.stamp"
  DEPENDS trustctl
  COMMENT "Writing the manual pages of trustctl"
  VERBATIM)
foreach(service trust-certmgrd trust-dialogd)
  add_custom_command(
    OUTPUT "${share}/man/man8/${service}.8"
    COMMAND ${CMAKE_COMMAND} -E make_directory "${share}/man/man8"
    COMMAND ${service} --manual > "${share}/man/man8/${service}.8"
    DEPENDS ${service}
    COMMENT "Writing the manual page of ${service}"
    VERBATIM)
  list(APPEND service_pages "${share}/man/man8/${service}.8")
endforeach()
add_custom_target(manual ALL
  DEPENDS "${share}/man1.stamp" "${completions}/trustctl" ${service_pages})

install(DIRECTORY "${share}/man/" DESTINATION "${CMAKE_INSTALL_MANDIR}")
install(FILES "${completions}/trustctl"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
