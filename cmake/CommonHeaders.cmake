# The headers of others that our C++20 libraries include most, read once for all of them. Compiling
# takes a third less so, but nobody notices when a source forgets to include one of them: for
# presets that check something else than the release preset, which builds without.
find_package(fmt REQUIRED)
file(GENERATE OUTPUT "${PROJECT_BINARY_DIR}/common_headers.cpp" CONTENT "")
add_library(common_headers STATIC "${PROJECT_BINARY_DIR}/common_headers.cpp")
trustlib_target(common_headers STD 20)
target_link_libraries(common_headers PRIVATE fmt::fmt)
target_precompile_headers(common_headers PRIVATE
  <algorithm> <chrono> <filesystem> <fmt/format.h> <functional> <map> <memory> <optional> <set>
  <sstream> <stdexcept> <string> <vector>)

# use_common_headers(<target>): in place of its own reading of them. What they were read with must
# be defined there too.
function(use_common_headers target)
  target_precompile_headers(${target} REUSE_FROM common_headers)
  target_compile_definitions(${target} PRIVATE
    $<TARGET_PROPERTY:fmt::fmt,INTERFACE_COMPILE_DEFINITIONS>)
endfunction()
