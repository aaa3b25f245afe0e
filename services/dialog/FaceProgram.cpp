#include "services/dialog/FaceProgram.h"

#include <filesystem>
#include <stdexcept>

#include "services/common/ProgramFiles.h"

namespace {

constexpr const char* kProgram = "trust-dialog-terminal";

}  // namespace

std::string findFaceProgram(const std::string& named) {
  if (!named.empty()) {
    if (isProgram(named)) return std::filesystem::absolute(named).string();
    throw std::runtime_error(named + " is not a program");
  }
  const std::filesystem::path own = ownProgramDirectory();
  for (const std::filesystem::path& place :
       {own, own.parent_path() / "libexec" / "trustlib", std::filesystem::path(FACE_DIRECTORY)}) {
    if (isProgram(place / kProgram)) return (place / kProgram).string();
  }
  throw std::runtime_error("the program " + std::string(kProgram) +
                           ", which draws dialogs, is not installed: looked beside this one and in "
                           "../libexec/trustlib; install it, name another with --face-program, or "
                           "use --face policy:decline");
}
