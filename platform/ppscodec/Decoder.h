// A place in a parsed text, and reading from there.
#ifndef PLATFORM_PPSCODEC_DECODER_H
#define PLATFORM_PPSCODEC_DECODER_H

#include <cstdint>
#include <vector>

#include "platform/ppscodec/Tree.h"
#include "platform/ppscodec/ppscodec.h"

namespace ppscodec {

// What stands behind a pps_decoder_t; ppscodec.h says what the operations do.
// Every int returned is a pps_result unless said otherwise; parsing and push may
// throw std::bad_alloc, and the decoder then stands as before, or without a text.
class Decoder {
 public:
  int parseJson(char* text) { return parse(text, Form::Json); }
  int parseAttributes(char* text) { return parse(text, Form::Attributes); }

  int push(const char* name);
  int pop();

  int length() const;  // a count
  int getBool(const char* name, bool* out);
  int getInt(const char* name, int* out);
  int getString(const char* name, const char** out);
  int gotoIndex(int index);

  int describeCurrent(pps_decoder_state_t* state) const;

 private:
  enum class Form { Json, Attributes };

  // One level that the decoder has entered.
  struct Level {
    const Node* container;
    std::uint32_t current;  // number of the current child; the count of children at the end
  };

  int parse(char* text, Form form);
  int find(const char* name, const Node** out) const;
  void moveOn(const char* name);

  bool parsed_ = false;
  Tree tree_;
  std::vector<Level> levels_;
};

}  // namespace ppscodec

#endif
