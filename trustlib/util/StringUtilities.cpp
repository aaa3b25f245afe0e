#include "trustlib/util/StringUtilities.h"

#include <algorithm>
#include <cstring>

#include "trustlib/util/Tokens.h"

namespace {

const char whitespace[] = " \t\n\v\f\r";

}  // namespace

bool StringUtilities::isWhitespace(char byte) TRUSTLIB_THROWS(TrustManagerException) {
  return byte != '\0' && strchr(whitespace, byte) != nullptr;
}

void StringUtilities::tolower(std::string& text) TRUSTLIB_THROWS(TrustManagerException) {
  std::transform(text.begin(), text.end(), text.begin(), lowerCase);
}

void StringUtilities::trimRight(std::string& text) TRUSTLIB_THROWS(TrustManagerException) {
  text.erase(text.find_last_not_of(whitespace) + 1);
}

void StringUtilities::trimLeft(std::string& text) TRUSTLIB_THROWS(TrustManagerException) {
  text.erase(0, text.find_first_not_of(whitespace));
}

void StringUtilities::trim(std::string& text) TRUSTLIB_THROWS(TrustManagerException) {
  trimRight(text);
  trimLeft(text);
}

bool StringUtilities::startsWith(const std::string& text, const std::string& prefix)
    TRUSTLIB_THROWS(TrustManagerException) {
  return text.compare(0, prefix.length(), prefix) == 0;
}

bool StringUtilities::endsWith(const std::string& text, const std::string& suffix)
    TRUSTLIB_THROWS(TrustManagerException) {
  return !suffix.empty() && suffix.length() <= text.length() &&
         text.compare(text.length() - suffix.length(), suffix.length(), suffix) == 0;
}

void StringUtilities::tokenize(const std::string* text, const std::string& delimiters,
                               std::list<std::string>& tokens)
    TRUSTLIB_THROWS(TrustManagerException) {
  tokens.clear();
  if (delimiters.empty()) {
    return;
  }
  Tokens pieces(TextPart{*text}, TextPart{delimiters});
  TextPart piece;
  while (pieces.next(&piece)) {
    tokens.emplace_back(piece.begin, piece.end);
  }
}

void StringUtilities::append(std::string* text, int value) TRUSTLIB_THROWS(TrustManagerException) {
  text->append(std::to_string(value));
}
