#include "services/dialog/ProcessTable.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <sstream>
#include <stdexcept>

#include "services/common/CertificateFiles.h"
#include "services/common/FileSystem.h"

namespace {

constexpr std::size_t kMaxStatusBytes = 4096;
constexpr std::size_t kMaxEnvironmentBytes = 1024 * 1024;

std::string fileOf(pid_t process, const char* name) {
  return "/proc/" + std::to_string(process) + "/" + name;
}

// The parts of the device number stand apart in it, as in what the kernel gives to programs.
dev_t deviceOf(unsigned number) {
  return makedev((number >> 8) & 0xfff, (number & 0xff) | ((number >> 12) & 0xfff00));
}

}  // namespace

std::string programOf(pid_t process, uid_t user) {
  struct stat status = {};
  if (stat(fileOf(process, "").c_str(), &status) != 0 || status.st_uid != user) return "";
  return linkTarget(fileOf(process, "exe"));
}

std::optional<dev_t> foregroundTerminalOf(pid_t process) {
  std::string status;
  try {
    status = readPlainFile(fileOf(process, "stat"), kMaxStatusBytes);
  } catch (const std::runtime_error&) {
    return std::nullopt;
  }
  // The program's name, in parentheses, may hold anything, parentheses too.
  std::istringstream fields(status.substr(status.rfind(')') + 1));
  char state = 0;
  int parent = 0;
  int group = 0;
  int session = 0;
  int terminal = 0;
  int foreground = 0;
  fields >> state >> parent >> group >> session >> terminal >> foreground;
  if (!fields || terminal == 0 || foreground != group) return std::nullopt;
  return deviceOf(static_cast<unsigned>(terminal));
}

std::optional<std::vector<std::string>> environmentOf(pid_t process) {
  std::string block;
  try {
    block = readPlainFile(fileOf(process, "environ"), kMaxEnvironmentBytes);
  } catch (const std::runtime_error&) {
    return std::nullopt;
  }
  std::vector<std::string> variables;
  std::istringstream texts(block);
  for (std::string variable; std::getline(texts, variable, '\0');) variables.push_back(variable);
  return variables;
}
