#ifndef SERVICES_COMMON_PROGRAMFILES_H
#define SERVICES_COMMON_PROGRAMFILES_H

#include <filesystem>

// A plain file that this process may run.
bool isProgram(const std::filesystem::path& path);

// Where the program of this process is; empty where that cannot be told.
std::filesystem::path ownProgramDirectory();

#endif
