#include <algorithm>

#include "services/common/CommandText.h"
#include "services/common/WrappedText.h"

namespace {

constexpr std::size_t kIndent = 2;
constexpr std::size_t kWidestName = 26;  // longer ones have a line of their own

std::string headOf(const CommandText::Entry& entry) {
  return entry.value.empty() ? entry.name : entry.name + " " + entry.value;
}

std::size_t widthOf(const std::vector<CommandText::Entry>& entries) {
  std::size_t width = 0;
  for (const auto& entry : entries) {
    const std::size_t length = headOf(entry).size();
    if (length <= kWidestName) width = std::max(width, length);
  }
  return width;
}

void addEntries(const char* title, const std::vector<CommandText::Entry>& entries,
                std::size_t columns, std::string* out) {
  if (entries.empty()) return;
  *out += std::string("\n") + title + ":\n";
  const std::size_t width = widthOf(entries);
  // On a narrow page the words go below the name.
  const bool narrow = columns < 60;
  const std::size_t textAt = narrow ? 3 * kIndent : kIndent + width + 2;
  for (const auto& entry : entries) {
    const std::string head = std::string(kIndent, ' ') + headOf(entry);
    std::string words = wrapWords(entry.description, textAt, columns);
    if (!narrow && head.size() <= kIndent + width && !words.empty()) {
      *out += head + words.substr(head.size()) + "\n";
    } else {
      *out += head + "\n" + (words.empty() ? "" : words + "\n");
    }
  }
}

void addParagraph(const CommandText::Paragraph& paragraph, std::size_t columns, std::string* out) {
  *out += "\n";
  std::string heading = paragraph.heading.empty() ? "" : paragraph.heading + ": ";
  if (!heading.empty() && (paragraph.lines.empty() || paragraph.lines.front().front() == ' ')) {
    *out += paragraph.heading + ":\n";
    heading.clear();
  }
  for (const std::string& line : paragraph.lines) {
    if (line.front() == ' ') {
      *out += line + "\n";
      continue;
    }
    heading += line;
    *out += wrapWords(heading, 0, columns) + "\n";
    heading.clear();
  }
}

}  // namespace

std::string helpText(const CommandText& text, std::size_t columns) {
  std::string out = "Usage: " + text.synopsis + "\n\n";
  out += wrapWords(text.description, 0, columns) + "\n";
  addEntries("Commands", text.commands, columns, &out);
  addEntries("Arguments", text.arguments, columns, &out);
  addEntries("Options", text.options, columns, &out);
  for (const auto& paragraph : text.paragraphs) addParagraph(paragraph, columns, &out);
  return out;
}
