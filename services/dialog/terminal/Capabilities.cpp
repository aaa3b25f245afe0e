#include "services/dialog/terminal/Capabilities.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>

// These define macros as common as "lines", so that nobody else here includes them.
#include <curses.h>
#include <term.h>  // after curses.h

namespace {

std::string* sink = nullptr;

int appendToSink(int byte) {
  sink->push_back(static_cast<char>(byte));
  return byte;
}

// Null where the terminal has no such capability.
const char* capability(const char* name) {
  const char* value = tigetstr(name);
  const bool wrongKind = reinterpret_cast<std::intptr_t>(value) == -1;
  return wrongKind ? nullptr : value;
}

std::size_t number(const char* name, std::size_t otherwise) {
  const int value = tigetnum(name);
  return value > 0 ? static_cast<std::size_t>(value) : otherwise;
}

std::string makeUndo() {
  // Cancels a sequence that was written in part.
  std::string undo = "\x18";
  sink = &undo;
  for (const char* name : {"sgr0", "op", "rmkx", "cnorm"}) {
    if (const char* value = capability(name)) tputs(value, 1, appendToSink);
  }
  if (const char* leave = capability("rmcup")) {
    tputs(leave, 1, appendToSink);
  } else if (const char* clear = capability("clear")) {
    // With one screen only, there is no bringing back; but nobody shall type among the ruins.
    tputs(clear, 1, appendToSink);
  }
  sink = nullptr;
  return undo;
}

}  // namespace

Capabilities readCapabilities(int fd) {
  const char* name = std::getenv("TERM");  // NOLINT(concurrency-mt-unsafe)
  if (name == nullptr || *name == '\0') throw std::runtime_error("TERM is not set");
  int found = 0;
  if (setupterm(name, fd, &found) != OK) {
    throw std::runtime_error("nothing is known of a terminal of the kind that TERM names");
  }
  Capabilities known{
      capability("cup") != nullptr, {number("lines", 24), number("cols", 80)}, makeUndo()};
  del_curterm(cur_term);
  return known;
}
