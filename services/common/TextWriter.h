#ifndef SERVICES_COMMON_TEXTWRITER_H
#define SERVICES_COMMON_TEXTWRITER_H

#include <string>

#include "platform/ppscodec/ppscodec.h"

// Writes a text for somebody else, member by member, into one outermost object that it opens
// and closes itself. Names are for members of an object and null for elements of an array.
// A failure is remembered and shows when the text is taken. Belongs to one thread at a time.
class TextWriter {
 public:
  enum class Form { attributes, json };

  explicit TextWriter(Form form);
  ~TextWriter();
  TextWriter(const TextWriter&) = delete;
  TextWriter& operator=(const TextWriter&) = delete;

  void startObject(const char* name);
  void endObject();
  void startArray(const char* name);
  void endArray();
  void add(const char* name, const std::string& value);
  void add(const char* name, const char* value);
  void add(const char* name, int value);
  void add(const char* name, bool value);

  template <class Strings>
  void addArray(const char* name, const Strings& values) {
    startArray(name);
    for (const std::string& value : values) add(nullptr, value);
    endArray();
  }

  // The finished text; nothing may be added after it. Throws std::runtime_error when it cannot
  // be encoded.
  std::string text();

 private:
  pps_encoder_t encoder_ = {};
};

#endif
