#ifndef SERVICES_COMMON_COMMANDTEXT_H
#define SERVICES_COMMON_COMMANDTEXT_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

// What there is to say about one command, taken from what parses its command line, so that no
// help and no manual can differ from the program.
struct CommandText {
  struct Entry {
    std::string name;   // "-d, --domain", "FILE", or a command's name
    std::string value;  // "NAME" for an option that takes one
    std::string description;
  };
  // From the command's footer: a heading where the first line begins with one ("Examples:"), and
  // lines, which stand as they are where they are indented.
  struct Paragraph {
    std::string heading;
    std::vector<std::string> lines;
  };

  std::string path;         // "trustctl exceptions list"
  std::string description;  // one sentence
  std::string synopsis;     // "trustctl exceptions list [OPTION]..."
  std::vector<Entry> commands;
  std::vector<Entry> arguments;
  std::vector<Entry> options;
  std::vector<Paragraph> paragraphs;
};

// `path` names the command with all that leads to it.
CommandText describeCommand(const CLI::App& command, const std::string& path);

// The text as --help shows it, in lines of at most `columns`.
std::string helpText(const CommandText& text, std::size_t columns);

// The text as a manual page of that section. `seeAlso` names other pages: "trustctl(1)".
std::string manualPage(const CommandText& text, int section, const std::string& version,
                       const std::vector<std::string>& seeAlso);

#endif
