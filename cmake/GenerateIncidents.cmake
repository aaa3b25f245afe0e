# Turns the blacklist's data into rows of a C++ table that tells the incident behind each entry,
# in order. cmake -DCSV=<file> -DOUT=<file> -P GenerateIncidents.cmake
# The form of the data is checked by GenerateBlacklist.cmake, which makes the library's table;
# here only as far as the third column needs it.
file(READ "${CSV}" csv)
# A semicolon would end an element of a list.
string(ASCII 31 semicolon)
string(REPLACE ";" "${semicolon}" csv "${csv}")
set(plain "[^,\"\n]*")
set(quoted "\"([^\"\n]|\"\")*\"")
string(REGEX MATCHALL "\n" lineEnds "${csv}")
string(REGEX MATCHALL "\n[0-9a-f]+,${plain},(${quoted}|${plain})," rows "${csv}")
list(LENGTH lineEnds lines)
list(LENGTH rows entries)
math(EXPR rowLines "${lines} - 1")
if(NOT rowLines EQUAL entries)
  message(FATAL_ERROR "${CSV}: ${rowLines} rows, and the incident can be read in ${entries} of them")
endif()

set(table "")
foreach(row IN LISTS rows)
  string(REGEX MATCH "^\n([0-9a-f]+),(${plain}),(.*),$" matched "${row}")
  set(serial "${CMAKE_MATCH_1}")
  set(domain "${CMAKE_MATCH_2}")
  set(incident "${CMAKE_MATCH_3}")
  string(REGEX REPLACE "^\"(.*)\"$" "\\1" incident "${incident}")
  if(incident STREQUAL "" OR incident MATCHES "\\\\")
    message(FATAL_ERROR "${CSV}: serial ${serial} has no incident, or one with a backslash")
  endif()
  string(REPLACE "\"\"" "\\\"" incident "${incident}")
  string(REPLACE "${semicolon}" ";" incident "${incident}")
  string(APPEND table "{\"${serial}\", \"${domain}\", \"${incident}\"},\n")
endforeach()
file(WRITE "${OUT}" "${table}")
