#ifndef TOOLS_TRUSTCTL_SERVICES_PROCESSFACTS_H
#define TOOLS_TRUSTCTL_SERVICES_PROCESSFACTS_H

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

// The path of the program that a process runs or, where this user may not know it, the short
// name of the process; nothing where there is no such process. Not escaped.
std::optional<std::string> programOfProcess(pid_t process);

// When it was started, seconds since 1970; nothing where that cannot be told.
std::optional<std::int64_t> startOfProcess(pid_t process);

// The name of a user; the number of one without.
std::string nameOfUser(uid_t user);

#endif
