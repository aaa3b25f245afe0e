#ifndef TRUSTLIB_UTIL_TOKENS_H
#define TRUSTLIB_UTIL_TOKENS_H

#include <cstddef>
#include <string>

// A part of a text, which somebody else keeps. C++14 has nothing of the kind.
struct TextPart {
  TextPart() : begin(nullptr), end(nullptr) {}
  TextPart(const char* begin, const char* end) : begin(begin), end(end) {}
  explicit TextPart(const std::string& text, std::size_t start = 0)
      : begin(text.data() + start), end(text.data() + text.length()) {}

  bool empty() const { return begin == end; }
  std::size_t length() const { return static_cast<std::size_t>(end - begin); }

  const char* begin;
  const char* end;
};

// Upper case to lower case, A to Z alone.
inline char lowerCase(char byte) {
  return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

// The pieces of a text between any bytes of the set `delimiters`, trimmed, without those that
// are then empty. Takes no memory; what it is given must outlive it.
class Tokens {
 public:
  Tokens(const TextPart& text, const TextPart& delimiters) : rest(text), delimiters(delimiters) {}

  // Puts the next piece into `token`; false when there is none, which leaves `token` alone.
  bool next(TextPart* token);

 private:
  TextPart rest;
  TextPart delimiters;
};

#endif
