#ifndef SERVICES_COMMON_TEXTREADER_H
#define SERVICES_COMMON_TEXTREADER_H

#include <optional>
#include <string>
#include <vector>

#include "platform/ppscodec/ppscodec.h"

// Reads a text that somebody else wrote, member by member. It stands in one object or array at
// a time. Names are for members of an object; in an array a null name reads the current element
// and moves on. Every failure is a std::runtime_error whose text names the member, fit for an
// answer to who wrote the text. Belongs to one thread at a time.
class TextReader {
 public:
  enum class Form { attributes, json };

  // Parses a copy of the text and stands in its outermost object. `what` stands for the text in
  // messages ("the request"). Throws when it is longer than the codec allows, holds a NUL, is
  // not of that form, nests too deep or names a member twice.
  TextReader(const std::string& text, Form form, std::string what);
  ~TextReader();
  TextReader(const TextReader&) = delete;
  TextReader& operator=(const TextReader&) = delete;

  // Nothing when the member is absent; throws when it is there and of another kind.
  std::optional<std::string> optionalString(const char* name);
  std::optional<bool> optionalBool(const char* name);
  std::optional<std::vector<std::string>> optionalStrings(const char* name);  // an array of them

  // The same, and absence is a failure too.
  std::string string(const char* name);
  bool boolean(const char* name);
  int integer(const char* name);

  // Stands in the object or array of that name from now on, until leave().
  void enter(const char* name);
  void leave();

  // Members or elements of where it stands.
  std::size_t count();
  // The names of the object it stands in.
  std::vector<std::string> memberNames();

 private:
  [[noreturn]] void fail(const char* name, int result, const char* kind) const;
  bool isThere(const char* name, int result, const char* kind) const;

  std::string what_;
  std::string text_;  // parsed in place; what is read points into it
  pps_decoder_t decoder_ = {};
};

#endif
