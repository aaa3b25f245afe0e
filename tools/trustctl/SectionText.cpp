#include "tools/trustctl/SectionText.h"

#include <vector>

#include <fmt/format.h>

#include "tools/trustctl/Page.h"

namespace {

constexpr std::size_t indentation = 4;
constexpr std::size_t labelColumns = 20;  // where the values begin

std::string toned(DialogTone tone, const std::string& text) {
  switch (tone) {
    case DialogTone::good:
      return painted(Colour::green, text);
    case DialogTone::doubt:
      return painted(Colour::yellow, text);
    case DialogTone::danger:
      return painted(Colour::red, text);
    case DialogTone::plain:
      break;
  }
  return text;
}

std::string lineText(const DialogLine& line) {
  if (line.label.empty()) {
    return toned(line.tone, wrapped(line.text, indentation)) + "\n";
  }
  std::string out;
  std::string label = line.label;
  if (!line.foreign) {
    const std::string words = wrapped(line.text, labelColumns);
    return fmt::format("    {:<{}}{}\n", label, labelColumns - indentation,
                       toned(line.tone, words.substr(labelColumns)));
  }
  for (const std::string& part : fieldLines(line.text, pageColumns() - labelColumns)) {
    out += fmt::format("    {:<{}}{}\n", label, labelColumns - indentation, toned(line.tone, part));
    label.clear();
  }
  return out;
}

}  // namespace

std::string sectionText(const DialogSection& section) {
  std::string out = toned(section.tone, wrapped(section.heading, 2)) + "\n";
  for (const DialogLine& line : section.lines) {
    out += lineText(line);
  }
  return out;
}
