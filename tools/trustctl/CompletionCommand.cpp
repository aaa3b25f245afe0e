#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/trustctl/Command.h"
#include "tools/trustctl/CommandWords.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/WarningWords.h"

namespace {

using Words = std::vector<std::string>;

constexpr const char* help =
    "Put this line into ~/.bashrc, unless your system has installed it already:\n\n"
    "  eval \"$(trustctl completion bash)\"\n\n"
    "Examples:\n"
    "  trustctl completion bash\n";

// The program itself knows the words. Where it offers none the shell offers files.
constexpr const char* bashScript =
    "_trustctl() {\n"
    "  local IFS=$'\\n'\n"
    "  COMPREPLY=($(\"${COMP_WORDS[0]}\" completion words -- \"${COMP_WORDS[@]:1:COMP_CWORD}\" "
    "2>/dev/null))\n"
    "}\n"
    "complete -o bashdefault -o default -F _trustctl trustctl\n";

const CLI::Option* findOption(const CLI::App& command, const std::string& word) {
  for (const CLI::Option* option : command.get_options()) {
    if (option->check_name(word) && !option->get_positional()) {
      return option;
    }
  }
  return nullptr;
}

// What a value of that kind can be; nothing where it is a file, or anything.
Words valuesOf(const std::string& kind) {
  static const std::vector<std::pair<std::string, Words>> known = {
      {"WHEN", {"auto", "always", "never"}},
      {"FACE", {"terminal", "policy:decline", "policy:once", "policy:always"}},
      {"PROTOCOL", {"smtp", "imap", "pop3", "ftp", "ldap", "xmpp", "postgres"}},
      {"WARNING", warningNames()},
      {"WARNINGS", warningNames()}};
  for (const auto& [name, values] : known) {
    if (name == kind) {
      return values;
    }
  }
  return {};
}

Words argumentsOf(const CLI::App& command) {
  for (const CLI::Option* option : command.get_options()) {
    const Words values = option->get_positional() ? valuesOf(option->get_name(true)) : Words();
    if (!values.empty()) {
      return values;
    }
  }
  return {};
}

// What may come in the place of the last word.
Words candidates(const CLI::App& program, const Words& words) {
  const Words before(words.begin(), words.end() - 1);
  const CLI::App& command = commandOf(program, before);
  const bool isOption = words.back().rfind('-', 0) == 0;
  if (!commandNames(command).empty() && !isOption) {
    return commandNames(command);
  }
  const CLI::Option* option = before.empty() ? nullptr : findOption(command, before.back());
  if (option != nullptr && option->get_items_expected_max() > 0) {
    return valuesOf(option->get_type_name());
  }
  return isOption ? optionNames(command) : argumentsOf(command);
}

void printFitting(const Words& offered, const std::string& start) {
  for (const std::string& word : offered) {
    if (word.rfind(start, 0) == 0) {
      print(word + "\n");
    }
  }
}

}  // namespace

void addCompletionCommand(CLI::App* program, CommandAction* chosen) {
  CLI::App* group = program->add_subcommand("completion", "Complete commands in a shell");
  group->footer(help);
  CLI::App* bash = group->add_subcommand("bash", "Print what makes bash complete them");
  bash->footer(help);
  bash->callback([chosen] {
    *chosen = [] {
      print(bashScript);
      return ExitStatus::trusted;
    };
  });
  CLI::App* ask = group->add_subcommand("words", "Print what may come next, for the shell");
  ask->group("");
  const auto words = std::make_shared<Words>();
  ask->add_option("WORD", *words, "What is typed so far, the last one not yet whole");
  ask->callback([program, words, chosen] {
    *chosen = [program, words] {
      if (!words->empty()) {
        printFitting(candidates(*program, *words), words->back());
      }
      return ExitStatus::trusted;
    };
  });
}
