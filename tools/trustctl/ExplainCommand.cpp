#include <memory>
#include <string>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "services/common/TextWriter.h"
#include "services/common/WarningTexts.h"
#include "tools/trustctl/Command.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/Suggestion.h"
#include "tools/trustctl/VerdictReport.h"
#include "tools/trustctl/WarningWords.h"

namespace {

constexpr const char* help =
    "Examples:\n"
    "  trustctl explain                 all warnings, one line each\n"
    "  trustctl explain CERT_EXPIRY     one of them in full\n"
    "  trustctl explain --json          all of them in full, for programs\n";

struct ExplainOptions {
  std::string name;
  bool json = false;
};

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

void printJson(const WarningText& text) {
  TextWriter object(TextWriter::Form::json);
  object.add("name", warningName(text));
  object.add("summary", text.summary);
  object.add("meaning", text.meaning);
  object.add("attack", text.attack);
  object.add("cause", text.cause);
  object.add("next", text.next);
  print(object.text() + "\n");
}

void explainAll(bool json) {
  if (!json) {
    return printAll();
  }
  for (const WarningText& text : warningTexts()) {
    printJson(text);
  }
}

const WarningText& findWarning(const std::string& name) {
  const WarningText* text = findWarningText(name);
  if (text == nullptr) {
    throw CommandError(ExitStatus::wrongUse,
                       fmt::format("no warning is named '{}'{}; list them with: trustctl explain",
                                   printableText(name), didYouMean(name, warningNames())));
  }
  return *text;
}

ExitStatus runExplain(const ExplainOptions& options) {
  return withJsonErrors(options.json, [&options] {
    if (options.name.empty()) {
      explainAll(options.json);
    } else {
      const WarningText& text = findWarning(options.name);
      options.json ? printJson(text) : printOne(text);
    }
    return ExitStatus::trusted;
  });
}

}  // namespace

void addExplainCommand(CLI::App* program, CommandAction* chosen) {
  CLI::App* command =
      addCommand(program, "explain", "Say what a warning means and what to do", help);
  const auto options = std::make_shared<ExplainOptions>();
  addOption(command, "WARNING", &options->name,
            "Name of the warning, in any letter case; all without it");
  addFlag(command, "--json", &options->json, "One JSON object a line, for programs");
  onCall(command, chosen, [options] { return runExplain(*options); });
}
