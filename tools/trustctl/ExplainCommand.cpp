#include <memory>
#include <string>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "services/common/PrintableText.h"
#include "services/common/WarningTexts.h"
#include "tools/trustctl/Command.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/Suggestion.h"
#include "tools/trustctl/WarningWords.h"

namespace {

constexpr const char* help =
    "Examples:\n"
    "  trustctl explain                 all warnings, one line each\n"
    "  trustctl explain CERT_EXPIRY     one of them in full\n";

void printAll() {
  print("The warnings that a verdict may carry:\n\n");
  for (const WarningText& text : warningTexts()) {
    print(fmt::format("  {}\n{}\n", warningName(text), wrapped(text.summary, 6)));
  }
  print("\nIn full: trustctl explain NAME\n");
}

void printOne(const WarningText& text) {
  const auto part = [](const char* title, const char* words) {
    print(fmt::format("\n{}\n{}\n", title, wrapped(words, 4)));
  };
  print(fmt::format("{}\n{}\n", warningName(text), wrapped(text.summary, 4)));
  part("What it means", text.meaning);
  part("What an attacker could do", text.attack);
  part("The usual innocent cause", text.cause);
  part("What to do", text.next);
}

ExitStatus explain(const std::string& name) {
  if (name.empty()) {
    printAll();
    return ExitStatus::trusted;
  }
  const WarningText* text = findWarningText(name);
  if (text == nullptr) {
    throw CommandError(ExitStatus::wrongUse,
                       fmt::format("no warning is named '{}'{}; list them with: trustctl explain",
                                   printableText(name), didYouMean(name, warningNames())));
  }
  printOne(*text);
  return ExitStatus::trusted;
}

}  // namespace

void addExplainCommand(CLI::App* program, CommandAction* chosen) {
  CLI::App* command = program->add_subcommand("explain", "Say what a warning means and what to do");
  command->footer(help);
  const auto name = std::make_shared<std::string>();
  command->add_option("WARNING", *name, "Name of the warning, in any letter case; all without it");
  command->callback([name, chosen] { *chosen = [name] { return explain(*name); }; });
}
