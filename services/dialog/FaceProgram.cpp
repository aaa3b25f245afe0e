#include "services/dialog/FaceProgram.h"

#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace {

constexpr const char* kProgram = "trust-dialog-terminal";

bool isProgram(const std::filesystem::path& path) {
  std::error_code error;
  return std::filesystem::is_regular_file(path, error) && access(path.c_str(), X_OK) == 0;
}

}  // namespace

std::string findFaceProgram(const std::string& named) {
  if (!named.empty()) {
    if (isProgram(named)) return std::filesystem::absolute(named).string();
    throw std::runtime_error(named + " is not a program");
  }
  std::error_code error;
  const std::filesystem::path own =
      std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
  for (const std::filesystem::path& place :
       {own, own.parent_path() / "libexec" / "trustlib", std::filesystem::path(FACE_DIRECTORY)}) {
    if (isProgram(place / kProgram)) return (place / kProgram).string();
  }
  throw std::runtime_error("the program " + std::string(kProgram) +
                           ", which draws dialogs, is not installed: looked beside this one and in "
                           "../libexec/trustlib; install it, name another with --face-program, or "
                           "use --face policy:decline");
}
