#include "services/certmgr/records/Log.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <exception>
#include <utility>

#include "services/common/PrintableText.h"

namespace {

constexpr std::string_view kProgram = "trust-certmgrd: ";

struct Level {
  std::string_view name;
  std::string_view syslog;
};

// In the order of LogLevel.
constexpr std::array<Level, 4> kLevels = {
    {{"error", "<3>"}, {"warning", "<4>"}, {"info", "<6>"}, {"debug", "<7>"}}};

bool needsNoQuotes(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("-_.,:/@+").find(c) != std::string_view::npos;
}

bool isPlain(std::string_view value) {
  return !value.empty() && std::all_of(value.begin(), value.end(), needsNoQuotes);
}

void appendField(std::string& line, std::string_view key, std::string_view value) {
  line.append(" ").append(key).append("=");
  const bool plain = isPlain(value);
  if (!plain) line += '"';
  line += value;
  if (!plain) line += '"';
}

// A reader that has stopped reading, or has gone, must hold no verdict up.
bool takesALine(int fd) {
  pollfd state{fd, POLLOUT, 0};
  return ::poll(&state, 1, 0) == 1 && (state.revents & POLLOUT) != 0 &&
         (state.revents & (POLLERR | POLLHUP | POLLNVAL)) == 0;
}

}  // namespace

std::optional<LogLevel> logLevelNamed(std::string_view name) {
  for (std::size_t i = 0; i < kLevels.size(); ++i) {
    if (kLevels[i].name == name) return static_cast<LogLevel>(i);
  }
  return {};
}

LogLine& LogLine::add(std::string_view key, std::string_view value, std::size_t columns) {
  if (value.size() <= columns && isPlain(value)) {  // most are: no need to look at each character
    appendField(text_, key, value);
  } else {
    appendField(text_, key, fitLines(escapeText(value, "\""), columns, 1).front());
  }
  return *this;
}

LogLine& LogLine::addEscaped(std::string_view key, std::string_view value, std::size_t columns) {
  std::string safe;
  for (const char c : value) {
    const auto byte = static_cast<unsigned char>(c);
    safe += byte < 0x20 || byte == 0x7f || c == '"' ? escapeText({&c, 1}, "\"") : std::string(1, c);
  }
  appendField(text_, key, fitLines(safe, columns, 1).front());
  return *this;
}

LogLine& LogLine::add(std::string_view key, std::int64_t value) {
  appendField(text_, key, std::to_string(value));
  return *this;
}

Log::Log(LogLevel most)
    : Log(most, STDERR_FILENO,
          isJournal(STDERR_FILENO, std::getenv("JOURNAL_STREAM")) ? Form::journal : Form::plain) {}

void Log::write(LogLevel level, std::string_view line) const noexcept {
  if (!takes(level) || !takesALine(fd_)) return;
  try {
    std::string text(form_ == Form::journal ? kLevels[static_cast<std::size_t>(level)].syslog
                                            : kProgram);
    text += line.substr(0, kMaxLineBytes - text.size() - 1);
    std::replace(text.begin(), text.end(), '\n', ' ');
    text += '\n';
    // Once, and no further part of it: that would be a line of its own.
    const ssize_t ignored = ::write(fd_, text.data(), text.size());
    (void)ignored;
  } catch (const std::exception&) {
    return;  // no memory for the line
  }
}

bool isJournal(int fd, const char* stream) {
  struct stat status = {};
  return stream != nullptr && ::fstat(fd, &status) == 0 &&
         std::to_string(static_cast<std::uint64_t>(status.st_dev)) + ":" +
                 std::to_string(static_cast<std::uint64_t>(status.st_ino)) ==
             stream;
}
