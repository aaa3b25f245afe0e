# Writes the version script of the shared library: its classes and the three plain
# functions are shown, everything else stays inside (the codec, the toolkit, and the
# instantiations of the standard library's templates, which compilers make visible).
#   trustlib_write_exports(<file> CLASSES <class>... FUNCTIONS <function>...)
function(trustlib_write_exports file)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "CLASSES;FUNCTIONS")
  set(text "{\n  global:\n")
  foreach(function IN LISTS arg_FUNCTIONS)
    string(APPEND text "    ${function};\n")
  endforeach()
  string(APPEND text "    extern \"C++\" {\n")
  foreach(class IN LISTS arg_CLASSES)
    string(APPEND text "      ${class}::*;\n"
      "      \"vtable for ${class}\";\n"
      "      \"typeinfo for ${class}\";\n"
      "      \"typeinfo name for ${class}\";\n")
  endforeach()
  string(APPEND text "    };\n  local: *;\n};\n")
  file(CONFIGURE OUTPUT "${file}" CONTENT "${text}" @ONLY)
endfunction()
