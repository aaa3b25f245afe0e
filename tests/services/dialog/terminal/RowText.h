#ifndef TESTS_SERVICES_DIALOG_TERMINAL_ROWTEXT_H
#define TESTS_SERVICES_DIALOG_TERMINAL_ROWTEXT_H

#include <string>
#include <vector>

#include "services/dialog/terminal/Layout.h"

inline std::string textOf(const Row& row) {
  std::string text;
  for (const Span& span : row) text += span.text;
  return text;
}

inline std::vector<std::string> textsOf(const std::vector<Row>& rows) {
  std::vector<std::string> texts;
  texts.reserve(rows.size());
  for (const Row& row : rows) texts.push_back(textOf(row));
  return texts;
}

// Of ASCII, bars and rules, and ideographs, which take two columns each.
inline std::size_t columnsOf(const std::string& text) {
  std::size_t columns = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < 0x80) columns += 1;
    if (byte >= 0xC0) columns += text.compare(i, 2, "\xE2\x94") == 0 ? 1 : 2;
  }
  return columns;
}

#endif
