// Owners of the codec's states, for its tests.
#ifndef TESTS_PLATFORM_PPSCODEC_CODEC_H
#define TESTS_PLATFORM_PPSCODEC_CODEC_H

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "platform/ppscodec/ppscodec.h"

enum class Form { Json, Attributes };

// An encoder that is initialised and cleaned up.
class TestEncoder {
 public:
  explicit TestEncoder(Form form) {
    EXPECT_EQ(PPS_OK, pps_encoder_initialize(&state_, form == Form::Json));
  }
  ~TestEncoder() { pps_encoder_cleanup(&state_); }
  TestEncoder(const TestEncoder&) = delete;
  TestEncoder& operator=(const TestEncoder&) = delete;

  operator pps_encoder_t*() { return &state_; }

  // The finished text; a failure of the test when there is none.
  std::string text() {
    const char* const buffer = pps_encoder_buffer(&state_);
    EXPECT_NE(nullptr, buffer);
    return buffer == nullptr
               ? std::string()
               : std::string(buffer, static_cast<std::size_t>(pps_encoder_length(&state_)));
  }

 private:
  pps_encoder_t state_ = {};
};

// A decoder that is initialised and cleaned up, with the text that it parses. The
// text stands in a block of just its size, so that a checker of addresses sees
// a read behind it.
class TestDecoder {
 public:
  TestDecoder() { EXPECT_EQ(PPS_OK, pps_decoder_initialize(&state_, nullptr)); }
  ~TestDecoder() { pps_decoder_cleanup(&state_); }
  TestDecoder(const TestDecoder&) = delete;
  TestDecoder& operator=(const TestDecoder&) = delete;

  operator pps_decoder_t*() { return &state_; }

  int parse(Form form, std::string_view text) {
    text_ = std::vector<char>(text.size() + 1);
    text.copy(text_.data(), text.size());
    return form == Form::Json ? pps_decoder_parse_json_str(&state_, text_.data())
                              : pps_decoder_parse_pps_str(&state_, text_.data());
  }

  // Parses a text that must be right and enters its top-level value.
  void enter(Form form, std::string_view text) {
    EXPECT_EQ(PPS_OK, parse(form, text)) << text;
    EXPECT_EQ(PPS_OK, pps_decoder_push(&state_, nullptr)) << text;
  }

  // A string that must be there.
  std::string string(const char* name) {
    const char* value = nullptr;
    EXPECT_EQ(PPS_OK, pps_decoder_get_string(&state_, name, &value)) << (name ? name : "element");
    return value == nullptr ? std::string() : value;
  }

  // An int that must be there.
  int integer(const char* name) {
    int value = 0;
    EXPECT_EQ(PPS_OK, pps_decoder_get_int(&state_, name, &value)) << (name ? name : "element");
    return value;
  }

 private:
  pps_decoder_t state_ = {};
  std::vector<char> text_;
};

// The result of parsing `text`.
inline int resultOf(Form form, std::string_view text) {
  TestDecoder decoder;
  return decoder.parse(form, text);
}

inline std::string repeat(std::string_view piece, int times) {
  std::string text;
  for (int i = 0; i < times; ++i) text += piece;
  return text;
}

#endif
