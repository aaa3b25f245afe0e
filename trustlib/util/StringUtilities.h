#ifndef TRUSTLIB_UTIL_STRING_UTILITIES_H
#define TRUSTLIB_UTIL_STRING_UTILITIES_H

#include <list>
#include <string>

#include "trustlib/Export.h"
#include "trustlib/Throws.h"
#include "trustlib/util/TrustManagerException.h"

// Static helpers over the bytes of strings; no locale plays a part. White space is space,
// tab, line feed, vertical tab, form feed and carriage return. Pure functions.
class TRUSTLIB_EXPORT StringUtilities {
 public:
  static bool isWhitespace(char byte) TRUSTLIB_THROWS(TrustManagerException);

  // Lower-cases A to Z in place; every other byte stays.
  static void tolower(std::string& text) TRUSTLIB_THROWS(TrustManagerException);

  // Erase the white space at the end, at the start, at both.
  static void trimRight(std::string& text) TRUSTLIB_THROWS(TrustManagerException);
  static void trimLeft(std::string& text) TRUSTLIB_THROWS(TrustManagerException);
  static void trim(std::string& text) TRUSTLIB_THROWS(TrustManagerException);

  // True when the text begins with the prefix; every text begins with the empty one.
  static bool startsWith(const std::string& text, const std::string& prefix)
      TRUSTLIB_THROWS(TrustManagerException);

  // True when the text ends with the suffix; no text ends with the empty one, on purpose.
  static bool endsWith(const std::string& text, const std::string& suffix)
      TRUSTLIB_THROWS(TrustManagerException);

  // Replaces `tokens` by the pieces of the text between any bytes of the set `delimiters`,
  // trimmed, without those that are then empty. The text must not be NULL.
  static void tokenize(const std::string* text, const std::string& delimiters,
                       std::list<std::string>& tokens) TRUSTLIB_THROWS(TrustManagerException);

  // Appends the value in decimal.
  static void append(std::string* text, int value) TRUSTLIB_THROWS(TrustManagerException);
};

#endif
