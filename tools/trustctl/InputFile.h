#ifndef TOOLS_TRUSTCTL_INPUTFILE_H
#define TOOLS_TRUSTCTL_INPUTFILE_H

#include <cstddef>
#include <string>

// What one input may hold. Real chains have some kilobytes; the bound keeps a wrong file
// from filling the memory.
constexpr std::size_t maxInputBytes = std::size_t{1024} * 1024;

// The name of an input in messages: its escaped path in quotes, or "standard input" for "-".
std::string inputName(const std::string& path);

// Reads a whole plain file, or standard input for "-". Never waits for anything but standard
// input: named pipes, devices and directories are refused.
// Throws CommandError (wrongUse) when the input cannot be had, is empty, or holds more than
// maxInputBytes; and Interrupted when a signal ends the wait for standard input.
std::string readInput(const std::string& path);

#endif
