#include <algorithm>

#include "services/common/CommandText.h"

namespace {

std::string escaped(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if (c == '\\') {
      out += "\\e";
    } else if (c == '-') {
      out += "\\-";
    } else if (c == '\'' || c == '`' || c == '~' || c == '^') {
      out += c == '\'' ? "\\(aq" : c == '`' ? "\\(ga" : c == '~' ? "\\(ti" : "\\(ha";
    } else {
      out += c;
    }
  }
  return !out.empty() && out.front() == '.' ? "\\&" + out : out;
}

std::string bold(const std::string& text) {
  return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(const std::string& text) {
  return "\\fI" + escaped(text) + "\\fR";
}

std::string upperCase(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

// "trustctl-exceptions" for the command "trustctl exceptions".
std::string pageName(std::string path) {
  std::replace(path.begin(), path.end(), ' ', '-');
  return path;
}

std::string section(const std::string& title) {
  return ".SH " + upperCase(title) + "\n";
}

void addEntries(const std::vector<CommandText::Entry>& entries, bool areArguments,
                std::string* out) {
  for (const auto& entry : entries) {
    *out += ".TP\n" + (areArguments ? italic(entry.name) : bold(entry.name));
    if (!entry.value.empty()) *out += " " + italic(entry.value);
    *out += "\n" + escaped(entry.description) + "\n";
  }
}

// Lines that are indented keep their form. The first ones of a section need no break before them.
void addLines(const std::vector<std::string>& lines, bool first, std::string* out) {
  bool verbatim = false;
  for (const std::string& line : lines) {
    const bool indented = line.front() == ' ';
    if (!indented && verbatim) *out += ".RE\n.fi\n";
    if (!first && !(indented && verbatim)) *out += ".PP\n";
    if (indented && !verbatim) *out += ".nf\n.RS 2\n";
    verbatim = indented;
    first = false;
    *out += escaped(indented ? line.substr(std::min<std::size_t>(2, line.size())) : line) + "\n";
  }
  if (verbatim) *out += ".RE\n.fi\n";
}

// A sentence as the line in NAME has it: "judge a certificate chain".
std::string lowerFirst(std::string text) {
  if (text.size() > 1 && text[0] >= 'A' && text[0] <= 'Z' && !(text[1] >= 'A' && text[1] <= 'Z')) {
    text[0] = static_cast<char>(text[0] - 'A' + 'a');
  }
  if (!text.empty() && text.back() == '.') text.pop_back();
  return text;
}

}  // namespace

std::string manualPage(const CommandText& text, int number, const std::string& version,
                       const std::vector<std::string>& seeAlso) {
  const std::string name = pageName(text.path);
  std::string out = ".TH " + upperCase(escaped(name)) + " " + std::to_string(number) + " \"\" \"" +
                    escaped(version) + "\"\n";
  out += section("Name") + escaped(name) + " \\- " + escaped(lowerFirst(text.description)) + "\n";
  const std::string arguments = text.synopsis.substr(text.path.size());
  out += section("Synopsis") + bold(text.path) + escaped(arguments) + "\n";
  out += section("Description");
  bool first = true;
  for (const auto& paragraph : text.paragraphs) {
    if (!paragraph.heading.empty()) continue;
    addLines(paragraph.lines, first, &out);
    first = false;
  }
  if (first) out += escaped(text.description) + ".\n";
  if (!text.arguments.empty()) {
    out += ".SS Arguments\n";
    addEntries(text.arguments, true, &out);
  }
  if (!text.commands.empty()) {
    out += section("Commands");
    addEntries(text.commands, false, &out);
  }
  if (!text.options.empty()) {
    out += section("Options");
    addEntries(text.options, false, &out);
  }
  for (const auto& paragraph : text.paragraphs) {
    if (paragraph.heading.empty()) continue;
    out += section(paragraph.heading);
    addLines(paragraph.lines, true, &out);
  }
  if (!seeAlso.empty()) {
    out += section("See also");
    for (std::size_t i = 0; i < seeAlso.size(); ++i) {
      const std::size_t bracket = seeAlso[i].find('(');
      out += ".BR " + escaped(seeAlso[i].substr(0, bracket)) + " " + seeAlso[i].substr(bracket) +
             (i + 1 < seeAlso.size() ? " ,\n" : "\n");
    }
  }
  return out;
}
