#ifndef SERVICES_DIALOG_PROCESSTABLE_H
#define SERVICES_DIALOG_PROCESSTABLE_H

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

// What the kernel tells of a process. All of it may be outdated the next moment.

// The path of the program that it runs; empty when that cannot be told, or the process with that
// number is not one of `user` (any more).
std::string programOf(pid_t process, uid_t user);

// The number of the terminal device in whose foreground it runs; nothing when it has no
// controlling terminal or is in the background there.
std::optional<dev_t> foregroundTerminalOf(pid_t process);

// The environment it started with, "NAME=VALUE"; nothing when this thread may not read it.
std::optional<std::vector<std::string>> environmentOf(pid_t process);

#endif
