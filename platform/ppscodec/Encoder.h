// Writes a text into one growing buffer.
#ifndef PLATFORM_PPSCODEC_ENCODER_H
#define PLATFORM_PPSCODEC_ENCODER_H

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ppscodec/ppscodec.h"

namespace ppscodec {

// What stands behind a pps_encoder_t; ppscodec.h says what the operations do.
// Each returns a pps_result and may throw std::bad_alloc; after either kind of
// failure the text is of no use, and remember() must be told.
class Encoder {
 public:
  explicit Encoder(bool json) : json_(json) {}

  int startObject(const char* name) { return start(Kind::Object, name); }
  int endObject() { return end(Kind::Object); }
  int startArray(const char* name) { return start(Kind::Array, name); }
  int endArray() { return end(Kind::Array); }

  int addString(const char* name, const char* value);
  int addInt(const char* name, int value);
  int addBool(const char* name, bool value);

  // Keeps the result of the last operation; PPS_OK as long as all is well.
  void remember(int result) { failure_ = result; }
  int failure() const { return failure_; }

  // The finished text, or null while there is none.
  const std::string* text() const { return done_ && failure_ == PPS_OK ? &text_ : nullptr; }

 private:
  enum class Kind { Scalar, Array, Object };

  struct Level {
    Kind kind;
    bool empty;
    std::set<std::string> names;  // of an object's members: the decoder refuses duplicates
  };

  int start(Kind kind, const char* name);
  int end(Kind kind);
  int addLiteral(const char* name, std::string_view literal);

  bool isAttributeLevel() const { return !json_ && levels_.size() == 1; }
  int admit(Kind kind, const char* name);
  void writeName(const char* name, std::string_view encoding);
  void writeQuoted(std::string_view bytes);
  int finishValue();

  const bool json_;
  bool done_ = false;  // the top-level value is complete
  int failure_ = PPS_OK;
  std::string text_;
  std::vector<Level> levels_;
};

}  // namespace ppscodec

#endif
