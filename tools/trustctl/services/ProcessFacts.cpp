#include "tools/trustctl/services/ProcessFacts.h"

#include <pwd.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <sstream>

#include <fmt/format.h>

#include "services/common/FileSystem.h"

namespace {

std::string fileOf(pid_t process, const char* name) {
  return fmt::format("/proc/{}/{}", process, name);
}

// When the machine was started, seconds since 1970.
std::optional<std::int64_t> startOfMachine() {
  std::ifstream file("/proc/stat");
  std::int64_t seconds = 0;
  for (std::string word; file >> word;) {
    if (word == "btime" && file >> seconds) {
      return seconds;
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> programOfProcess(pid_t process) {
  if (std::string path = linkTarget(fileOf(process, "exe")); !path.empty()) {
    return path;
  }
  std::ifstream file(fileOf(process, "comm"));
  std::string name;
  return std::getline(file, name) ? std::optional(name) : std::nullopt;
}

std::optional<std::int64_t> startOfProcess(pid_t process) {
  std::ifstream file(fileOf(process, "stat"));
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const std::size_t nameEnd = text.rfind(')');  // the name itself may hold anything
  const auto machine = startOfMachine();
  const std::int64_t ticksPerSecond = sysconf(_SC_CLK_TCK);
  if (nameEnd == std::string::npos || !machine || ticksPerSecond <= 0) {
    return std::nullopt;
  }
  constexpr int fieldsBefore = 19;
  std::istringstream fields(text.substr(nameEnd + 1));
  std::string skipped;
  for (int i = 0; i < fieldsBefore; ++i) {
    fields >> skipped;
  }
  std::int64_t ticks = 0;
  return fields >> ticks ? std::optional(*machine + ticks / ticksPerSecond) : std::nullopt;
}

std::string nameOfUser(uid_t user) {
  const passwd* account = getpwuid(user);  // NOLINT(concurrency-mt-unsafe): one thread
  return account != nullptr ? account->pw_name : std::to_string(user);
}
