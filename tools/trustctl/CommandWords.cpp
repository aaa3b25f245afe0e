#include "tools/trustctl/CommandWords.h"

#include <algorithm>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/Suggestion.h"

namespace {

using Words = std::vector<std::string>;

const CLI::App* findCommand(const CLI::App& group, const std::string& word) {
  for (const CLI::App* command : group.get_subcommands({})) {
    if (command->get_name() == word) {
      return command;
    }
  }
  return nullptr;
}

// "a, b or c"
std::string listed(const Words& names) {
  std::string out;
  for (std::size_t i = 0; i < names.size(); ++i) {
    out += i == 0 ? "" : i + 1 == names.size() ? " or " : ", ";
    out += names[i];
  }
  return out;
}

// The commands that the words lead through, the program itself first.
std::vector<const CLI::App*> commandsOf(const CLI::App& program, const Words& words) {
  std::vector<const CLI::App*> path = {&program};
  for (const std::string& word : words) {
    const CLI::App* next = findCommand(*path.back(), word);
    if (next == nullptr) {
      break;
    }
    path.push_back(next);
  }
  return path;
}

std::string nameOf(const std::vector<const CLI::App*>& path) {
  std::string name;
  for (const CLI::App* command : path) {
    name += (name.empty() ? "" : " ") + command->get_name();
  }
  return name;
}

[[noreturn]] void refuse(const std::string& what, const std::string& command) {
  throw CommandError(ExitStatus::wrongUse,
                     fmt::format("{}; learn more with: {} --help", what, command));
}

void requireCommand(const std::vector<const CLI::App*>& path, const Words& words) {
  const Words names = commandNames(*path.back());
  if (names.empty()) {
    return;
  }
  if (words.size() < path.size()) {
    refuse("say what to do: " + listed(names), nameOf(path));
  }
  const std::string& word = words[path.size() - 1];
  if (word.empty() || word.front() != '-') {
    refuse(fmt::format("there is no command '{}'{}", printableText(word), didYouMean(word, names)),
           nameOf(path));
  }
}

void requireOption(const CLI::App& command, const std::string& word, const std::string& path) {
  const std::string name = word.substr(0, word.find('='));
  const Words names = optionNames(command);
  if (std::find(names.begin(), names.end(), name) == names.end()) {
    refuse(fmt::format("there is no option '{}'{}", printableText(name), didYouMean(name, names)),
           path);
  }
  if (word.size() == name.size() + 1) {
    throw CommandError(ExitStatus::wrongUse,
                       name + ": the value is empty; give one or leave the option out");
  }
}

}  // namespace

void requireKnownWords(const CLI::App& program, const Words& words) {
  const auto path = commandsOf(program, words);
  requireCommand(path, words);
  for (std::size_t i = path.size() - 1; i < words.size() && words[i] != "--"; ++i) {
    if (words[i].size() > 2 && words[i].compare(0, 2, "--") == 0) {
      requireOption(*path.back(), words[i], nameOf(path));
    }
  }
}

const CLI::App& commandOf(const CLI::App& program, const Words& words) {
  return *commandsOf(program, words).back();
}

std::string commandPath(const CLI::App& program, const Words& words) {
  return nameOf(commandsOf(program, words));
}

Words commandNames(const CLI::App& group) {
  Words names;
  for (const CLI::App* command : group.get_subcommands({})) {
    if (!command->get_group().empty()) {
      names.push_back(command->get_name());
    }
  }
  return names;
}

Words optionNames(const CLI::App& command) {
  Words names;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      if (!option->get_group().empty()) {
        names.push_back("--" + name);
      }
    }
  }
  return names;
}
