#ifndef TOOLS_TRUSTCTL_OPTIONS_H
#define TOOLS_TRUSTCTL_OPTIONS_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/trustctl/Command.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

// What commands need to declare themselves. The parser behind it is all in its headers and takes
// a compiler ten seconds, so that no command includes it.

// Ends the command as wrong use.
[[noreturn]] void refuse(const std::string& text);

// One option or argument; the program owns it. The operations return *this.
class Option {
 public:
  explicit Option(CLI::Option* option) : option_(option) {}

  Option& required();
  // Refuses an empty value: that of a variable that is not set must not pass for an option left
  // out.
  Option& notEmpty();
  Option& oneOf(const std::vector<std::string>& words);
  Option& between(int least, int most);
  Option& needs(const Option& other);
  Option& excludes(const Option& other);
  // Of an option that may be repeated: takes one value each time.
  Option& oneValueEach();
  // The option alone will do, without its value.
  Option& mayLackValue();

  // Whether it was on the command line.
  bool wasGiven() const;

 private:
  CLI::Option* option_;
};

// A command of the group. `footer` is what --help says after the options: paragraphs with an empty
// line between them; lines that are indented stay as they are.
CLI::App* addCommand(CLI::App* group, const std::string& name, const std::string& description,
                     const std::string& footer);

// Hides the command from help, manual and completion.
void hideCommand(CLI::App* command);

// Has `action` done when the command is the one that was called.
void onCall(CLI::App* command, CommandAction* chosen, CommandAction action);

// An option ("-d,--domain") or an argument ("FILE"). The variable must outlive the parse; `kind`
// stands for the value in the help. An argument has no kind.
Option addOption(CLI::App* command, const std::string& names, std::string* value,
                 const std::string& description, const std::string& kind = "");
Option addOption(CLI::App* command, const std::string& names, std::optional<std::string>* value,
                 const std::string& description, const std::string& kind = "");
Option addOption(CLI::App* command, const std::string& names, std::vector<std::string>* values,
                 const std::string& description, const std::string& kind = "");
Option addOption(CLI::App* command, const std::string& names, int* value,
                 const std::string& description, const std::string& kind = "");
Option addOption(CLI::App* command, const std::string& names, std::optional<int>* value,
                 const std::string& description, const std::string& kind = "");
Option addOption(CLI::App* command, const std::string& names, std::size_t* value,
                 const std::string& description, const std::string& kind = "");
Option addFlag(CLI::App* command, const std::string& names, bool* value,
               const std::string& description);

#endif
