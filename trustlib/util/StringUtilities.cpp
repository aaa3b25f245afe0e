#include "trustlib/util/StringUtilities.h"

#include <cstring>

namespace {

const char whitespace[] = " \t\n\v\f\r";

}  // namespace

bool StringUtilities::isWhitespace(char byte) TRUSTLIB_THROWS(TrustManagerException) {
  return byte != '\0' && strchr(whitespace, byte) != nullptr;
}

void StringUtilities::tolower(std::string& text) TRUSTLIB_THROWS(TrustManagerException) {
  for (char& byte : text) {
    if (byte >= 'A' && byte <= 'Z') {
      byte = static_cast<char>(byte - 'A' + 'a');
    }
  }
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
  if (text->empty() || delimiters.empty()) {
    return;
  }
  std::string::size_type start = 0;
  while (start <= text->length()) {
    const std::string::size_type delimiter = text->find_first_of(delimiters, start);
    const std::string::size_type end = delimiter != std::string::npos ? delimiter : text->length();
    std::string token(*text, start, end - start);
    trim(token);
    if (!token.empty()) {
      tokens.push_back(token);
    }
    start = end + 1;
  }
}

void StringUtilities::append(std::string* text, int value) TRUSTLIB_THROWS(TrustManagerException) {
  text->append(std::to_string(value));
}
