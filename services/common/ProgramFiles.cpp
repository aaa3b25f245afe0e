#include "services/common/ProgramFiles.h"

#include <unistd.h>

#include "services/common/FileSystem.h"

bool isProgram(const std::filesystem::path& path) {
  return isPlainFile(path) && access(path.c_str(), X_OK) == 0;
}

std::filesystem::path ownProgramDirectory() {
  return std::filesystem::path(linkTarget("/proc/self/exe")).parent_path();
}
