#include "services/common/WrappedText.h"

#include <algorithm>

std::string wrapWords(std::string_view words, std::size_t indent, std::size_t columns) {
  std::string out;
  std::size_t column = columns;  // the first word opens the first line
  std::size_t start = 0;
  while (start < words.size()) {
    const std::size_t end = std::min(words.find(' ', start), words.size());
    const std::size_t length = end - start;
    if (column + 1 + length > columns) {
      out += (out.empty() ? "" : "\n") + std::string(indent, ' ');
      column = indent;
    } else {
      out += ' ';
      ++column;
    }
    out.append(words, start, length);
    column += length;
    start = end + 1;
  }
  return out;
}
