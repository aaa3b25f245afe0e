#include "tools/trustctl/Page.h"

#include <langinfo.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "services/common/WrappedText.h"
#include "tools/trustctl/Options.h"

namespace {

constexpr std::size_t usualColumns = 80;
constexpr std::size_t fewestColumns = 40;
constexpr std::size_t mostColumns = 100;  // longer lines are hard to read
constexpr std::size_t linesPerField = 3;

std::string chosenColours = "auto";

bool isColourTerminal() {
  const char* refused = getenv("NO_COLOR");
  const char* terminal = getenv("TERM");
  const bool isDumb = terminal != nullptr && strcmp(terminal, "dumb") == 0;
  return isatty(STDOUT_FILENO) == 1 && (refused == nullptr || *refused == '\0') && !isDumb;
}

const char* codeOf(Colour colour) {
  switch (colour) {
    case Colour::red:
      return "\x1b[1;31m";
    case Colour::green:
      return "\x1b[1;32m";
    case Colour::yellow:
      break;
  }
  return "\x1b[33m";
}

// What is printed is valid UTF-8: texts from outside were escaped.
std::string inAscii(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    if (length == 1) {
      out += text[i];
    } else {
      std::uint32_t character = lead & (0xffU >> (length + 1));
      for (std::size_t k = 1; k < length && i + k < text.size(); ++k) {
        character = (character << 6U) | (static_cast<unsigned char>(text[i + k]) & 0x3fU);
      }
      out += fmt::format("\\u{{{:x}}}", character);
    }
    i += length;
  }
  return out;
}

void write(FILE* stream, const std::string& text) {
  const bool showsUtf8 = isatty(fileno(stream)) != 1 || strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
  const std::string& shown = showsUtf8 ? text : inAscii(text);
  (void)fwrite(shown.data(), 1, shown.size(), stream);
}

}  // namespace

std::size_t pageColumns() {
  winsize size = {};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
    return usualColumns;
  }
  return std::clamp<std::size_t>(size.ws_col, fewestColumns, mostColumns);
}

std::string wrapped(std::string_view words, std::size_t indent, std::size_t columns) {
  return wrapWords(words, indent, columns);
}

std::vector<std::string> fieldLines(const std::string& escaped, std::size_t columns) {
  const std::string shown = escaped.empty() ? "(empty)" : escaped;
  if (columns >= fewestColumns) {
    return fitLines(shown, columns, linesPerField);
  }
  // Too narrow for the mark where text is cut: cut first, then break all of it.
  return fitLines(fitLines(shown, linesPerField * fewestColumns, 1).front(), columns, shown.size());
}

void addColourOption(CLI::App* command) {
  addOption(command, "--color", &chosenColours, "Colour the text: auto, always, never", "WHEN")
      .oneOf({"auto", "always", "never"});
}

bool wantsColours() {
  return chosenColours == "always" || (chosenColours == "auto" && isColourTerminal());
}

std::string painted(Colour colour, const std::string& text, bool colours) {
  return colours ? fmt::format("{}{}\x1b[0m", codeOf(colour), text) : text;
}

void print(const std::string& text) {
  write(stdout, text);
}

void printComplaint(const std::string& text) {
  (void)fflush(stdout);  // where both go to one place, what was said first stands first
  write(stderr, "trustctl: " + text + "\n");
}
