#include "services/common/CommandText.h"

#include <algorithm>
#include <sstream>

#include <CLI/CLI.hpp>

namespace {

constexpr const char* kHeadings[] = {"Examples", "Exit status", "Environment", "Files", "Signals"};

using Entry = CommandText::Entry;
using Paragraph = CommandText::Paragraph;

std::string namesOf(const CLI::Option& option) {
  std::string names;
  for (const std::string& name : option.get_snames()) names += (names.empty() ? "-" : ", -") + name;
  for (const std::string& name : option.get_lnames()) {
    names += (names.empty() ? "--" : ", --") + name;
  }
  return names;
}

// Empty for a flag.
std::string valueOf(const CLI::Option& option) {
  return option.get_items_expected_max() > 0 ? option.get_type_name() : "";
}

std::string descriptionOf(const CLI::Option& option) {
  const std::string usual = option.get_default_str();
  return option.get_description() + (usual.empty() ? "" : " (" + usual + ")");
}

std::string argumentOf(const CLI::Option& option) {
  const bool several = option.get_items_expected_max() > 1;
  const std::string name = option.get_name(true) + (several ? "..." : "");
  return option.get_required() ? name : "[" + name + "]";
}

std::string synopsisOf(const CLI::App& command, const CommandText& text) {
  std::string synopsis = text.path;
  if (!text.options.empty()) synopsis += " [OPTION]...";
  if (!text.commands.empty()) synopsis += " COMMAND";
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_positional()) synopsis += " " + argumentOf(*option);
  }
  return synopsis;
}

bool isIndented(const std::string& line) {
  return !line.empty() && line.front() == ' ';
}

// Takes "Heading:" off the front of the line; empty when it does not begin so.
std::string takeHeading(std::string* line) {
  const std::size_t colon = line->find(':');
  for (const char* heading : kHeadings) {
    if (line->substr(0, colon) == heading && colon != std::string::npos) {
      line->erase(0, colon + 1);
      line->erase(0, line->find_first_not_of(' '));
      return heading;
    }
  }
  return {};
}

std::vector<Paragraph> paragraphsOf(const std::string& footer) {
  std::vector<Paragraph> paragraphs;
  std::istringstream in(footer);
  bool starts = true;
  for (std::string line; std::getline(in, line);) {
    if (line.empty()) {
      starts = true;
      continue;
    }
    if (starts) paragraphs.push_back({takeHeading(&line), {}});
    starts = false;
    std::vector<std::string>& lines = paragraphs.back().lines;
    if (line.empty()) continue;
    if (!isIndented(line) && !lines.empty() && !isIndented(lines.back())) {
      lines.back() += " " + line;
    } else {
      lines.push_back(line);
    }
  }
  return paragraphs;
}

}  // namespace

CommandText describeCommand(const CLI::App& command, const std::string& path) {
  CommandText text;
  text.path = path;
  text.description = command.get_description();
  for (const CLI::App* below : command.get_subcommands({})) {
    if (!below->get_group().empty()) {
      text.commands.push_back({below->get_name(), "", below->get_description()});
    }
  }
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_group().empty()) continue;  // hidden
    if (option->get_positional()) {
      text.arguments.push_back({option->get_name(true), "", option->get_description()});
    } else {
      text.options.push_back({namesOf(*option), valueOf(*option), descriptionOf(*option)});
    }
  }
  text.synopsis = synopsisOf(command, text);
  text.paragraphs = paragraphsOf(command.get_footer());
  return text;
}
