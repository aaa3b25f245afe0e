#include "tools/trustctl/Options.h"

#include <utility>

#include <CLI/CLI.hpp>

namespace {

template <class Value>
Option add(CLI::App* command, const std::string& names, Value* value,
           const std::string& description, const std::string& kind) {
  return Option(command->add_option(names, *value, description)->type_name(kind));
}

}  // namespace

void refuse(const std::string& text) {
  throw CommandError(ExitStatus::wrongUse, text);
}

Option& Option::required() {
  option_->required();
  return *this;
}

Option& Option::notEmpty() {
  option_->check(
      [](const std::string& value) {
        return value.empty() ? "the value is empty; give one or leave the option out" : "";
      },
      "");
  return *this;
}

Option& Option::oneOf(const std::vector<std::string>& words) {
  option_->check(CLI::IsMember(words).description(""));
  return *this;
}

Option& Option::between(int least, int most) {
  option_->check(CLI::Range(least, most).description(""));
  return *this;
}

Option& Option::needs(const Option& other) {
  option_->needs(other.option_);
  return *this;
}

Option& Option::excludes(const Option& other) {
  option_->excludes(other.option_);
  return *this;
}

Option& Option::oneValueEach() {
  option_->allow_extra_args(false);
  return *this;
}

Option& Option::mayLackValue() {
  option_->expected(0, 1);
  return *this;
}

bool Option::wasGiven() const {
  return option_->count() > 0;
}

CLI::App* addCommand(CLI::App* group, const std::string& name, const std::string& description,
                     const std::string& footer) {
  CLI::App* command = group->add_subcommand(name, description);
  command->footer(footer);
  return command;
}

void hideCommand(CLI::App* command) {
  command->group("");
}

void onCall(CLI::App* command, CommandAction* chosen, CommandAction action) {
  command->callback([chosen, action = std::move(action)] { *chosen = action; });
}

Option addOption(CLI::App* command, const std::string& names, std::string* value,
                 const std::string& description, const std::string& kind) {
  return add(command, names, value, description, kind);
}

Option addOption(CLI::App* command, const std::string& names, std::optional<std::string>* value,
                 const std::string& description, const std::string& kind) {
  return add(command, names, value, description, kind);
}

Option addOption(CLI::App* command, const std::string& names, std::vector<std::string>* values,
                 const std::string& description, const std::string& kind) {
  return add(command, names, values, description, kind);
}

Option addOption(CLI::App* command, const std::string& names, int* value,
                 const std::string& description, const std::string& kind) {
  return add(command, names, value, description, kind);
}

Option addOption(CLI::App* command, const std::string& names, std::optional<int>* value,
                 const std::string& description, const std::string& kind) {
  return add(command, names, value, description, kind);
}

Option addOption(CLI::App* command, const std::string& names, std::size_t* value,
                 const std::string& description, const std::string& kind) {
  return add(command, names, value, description, kind);
}

Option addFlag(CLI::App* command, const std::string& names, bool* value,
               const std::string& description) {
  return Option(command->add_flag(names, *value, description));
}
