#include "tools/trustctl/WarningWords.h"

#include "tools/trustctl/Suggestion.h"

const WarningText* findWarningText(std::string_view name) {
  const std::string wanted = comparableWord(name);
  for (const WarningText& text : warningTexts()) {
    if (wanted == comparableWord(warningName(text))) {
      return &text;
    }
  }
  return nullptr;
}

std::vector<std::string> warningNames() {
  std::vector<std::string> names;
  for (const WarningText& text : warningTexts()) {
    names.emplace_back(warningName(text));
  }
  return names;
}
