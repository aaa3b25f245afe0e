#include "trustlib/util/Tokens.h"

#include <algorithm>

#include "trustlib/util/StringUtilities.h"

namespace {

TextPart trimmed(TextPart text) {
  while (!text.empty() && StringUtilities::isWhitespace(*text.begin)) {
    ++text.begin;
  }
  while (!text.empty() && StringUtilities::isWhitespace(text.end[-1])) {
    --text.end;
  }
  return text;
}

}  // namespace

bool Tokens::next(TextPart* token) {
  while (!rest.empty()) {
    const char* delimiter =
        std::find_first_of(rest.begin, rest.end, delimiters.begin, delimiters.end);
    const TextPart piece = trimmed(TextPart(rest.begin, delimiter));
    rest.begin = delimiter != rest.end ? delimiter + 1 : rest.end;
    if (!piece.empty()) {
      *token = piece;
      return true;
    }
  }
  return false;
}
