#include "tools/trustctl/ServiceProgram.h"

#include <stdlib.h>

#include <filesystem>
#include <sstream>
#include <vector>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "services/common/ProgramFiles.h"
#include "tools/trustctl/CommandError.h"

namespace {

std::vector<std::filesystem::path> placesToLook() {
  std::vector<std::filesystem::path> places;
  const std::filesystem::path own = ownProgramDirectory();
  if (!own.empty()) {
    places.push_back(own);
    places.push_back(own.parent_path() / "sbin");
    places.push_back(own.parent_path() / "libexec" / "trustlib");
  }
  const char* searchPath = getenv("PATH");
  std::istringstream directories(searchPath != nullptr ? searchPath : "");
  for (std::string directory; std::getline(directories, directory, ':');) {
    places.emplace_back(directory.empty() ? "." : directory);
  }
  return places;
}

}  // namespace

std::string findServiceProgram(const ServiceProgram& program) {
  const char* named = getenv(program.variable);
  if (named != nullptr && *named != '\0') {
    if (!isProgram(named)) {
      throw CommandError(ExitStatus::undecided,
                         fmt::format("{} names '{}', which is not a program; correct or unset it",
                                     program.variable, printableText(named)));
    }
    return named;
  }
  for (const std::filesystem::path& place : placesToLook()) {
    std::filesystem::path path = place / program.name;
    if (isProgram(path)) {
      return path.string();
    }
  }
  throw CommandError(
      ExitStatus::undecided,
      fmt::format("the program {}, which {}, is not installed: looked beside trustctl, in "
                  "../sbin, ../libexec/trustlib and PATH; install it, or set {} to its path{}",
                  program.name, program.purpose, program.variable, program.otherwise));
}
