#ifndef TOOLS_TRUSTCTL_INPUTFILE_H
#define TOOLS_TRUSTCTL_INPUTFILE_H

#include <cstddef>
#include <string>

// What a kind of input may hold, which keeps a wrong file from filling the memory, and what to
// do where it cannot be taken.
struct InputRules {
  std::size_t maxBytes;
  const char* ifLarger;
  const char* ifPipe;
};

// Real chains have some kilobytes.
constexpr InputRules chainRules = {
    std::size_t{1024} * 1024,
    "so it is no certificate chain; give the server's certificate and its intermediates only",
    "connect it to standard input and name it -"};

// The name of an input in messages: its escaped path in quotes, or "standard input" for "-".
std::string inputName(const std::string& path);

// Reads a whole plain file; never waits: named pipes, devices and directories are refused.
// Throws CommandError (wrongUse) when the file cannot be had or holds more than the rules allow.
std::string readPlainFile(const std::string& path, const InputRules& rules);

// The same, or standard input for "-". Throws also Interrupted when a signal ends the wait for
// standard input.
std::string readInput(const std::string& path, const InputRules& rules);

// The same by chainRules. Throws as well when the input is empty.
std::string readInput(const std::string& path);

#endif
