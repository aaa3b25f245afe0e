#ifndef SERVICES_CERTMGR_RECORDS_LOG_H
#define SERVICES_CERTMGR_RECORDS_LOG_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

enum class LogLevel { error, warning, info, debug };

// The level of that name ("error", ...); nothing for any other text.
std::optional<LogLevel> logLevelNamed(std::string_view name);

// One line of fields, "decision verdict=VALID subject=\"CN=a b\"". Whatever a value holds, the
// line stays one line, and no value can look like another field: values with anything but
// letters, digits and some marks stand in double quotes, which none contains.
class LogLine {
 public:
  explicit LogLine(std::string_view event) : text_(event) {}

  // Bytes from anywhere; what does not print comes out as \xNN or \u{...}. At most `columns` of
  // them, at least 40, the rest being counted: "...\[12 more bytes]".
  LogLine& add(std::string_view key, std::string_view value, std::size_t columns = 120);
  // A text that escapeText() made, which a second time would make unreadable.
  LogLine& addEscaped(std::string_view key, std::string_view value, std::size_t columns = 120);
  LogLine& add(std::string_view key, std::int64_t value);

  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

// Writes lines to a descriptor, each at once, so that the lines of several threads and processes
// never mix. What cannot be written at once is lost: no verdict waits for its line. Safe from
// several threads.
class Log {
 public:
  enum class Form {
    plain,    // "trust-certmgrd: LINE"
    journal,  // "<6>LINE", the number being syslog's level
  };
  static constexpr std::size_t kMaxLineBytes = 4096;  // what a pipe takes at once, whole or not

  // Notes what is at `most` or more important. `fd` stays the caller's.
  Log(LogLevel most, int fd, Form form) : most_(most), fd_(fd), form_(form) {}
  // To stderr, in the form of the journal where that reads it.
  explicit Log(LogLevel most);

  bool takes(LogLevel level) const { return level <= most_; }
  // What passes kMaxLineBytes is cut.
  void write(LogLevel level, std::string_view line) const noexcept;

 private:
  LogLevel most_;
  int fd_;
  Form form_;
};

// Whether `stream` ("DEVICE:INODE", as the environment's JOURNAL_STREAM has it; may be NULL) is
// what the descriptor leads to: that the variable is there says nothing, since children inherit
// it whatever becomes of their stderr.
bool isJournal(int fd, const char* stream);

#endif
