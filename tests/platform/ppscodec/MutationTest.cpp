// Damaged texts: whatever the decoder still takes is written and reads back as
// the same values. The damage is the same on every run.
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "platform/ppscodec/ppscodec.h"
#include "tests/platform/ppscodec/Codec.h"

namespace {

// A small generator whose sequence is the same everywhere.
class Sequence {
 public:
  explicit Sequence(std::uint32_t seed) : state_(seed) {}

  std::size_t below(std::size_t bound) {
    state_ = state_ * 1664525U + 1013904223U;
    return (state_ >> 8U) % bound;
  }

 private:
  std::uint32_t state_;
};

const std::string pieces = "{}[]\",:\\ \nujson0123456789.e-+ntrfalsd\x01\x7f\x80\xff";

std::string damage(std::string text, Sequence& sequence) {
  const std::size_t changes = 1 + sequence.below(4);
  for (std::size_t i = 0; i < changes && !text.empty(); ++i) {
    const std::size_t place = sequence.below(text.size());
    const char piece = pieces[sequence.below(pieces.size())];
    switch (sequence.below(4)) {
      case 0:
        text[place] = piece;
        break;
      case 1:
        text.insert(place, 1, piece);
        break;
      case 2:
        text.erase(place, 1 + sequence.below(3));
        break;
      default:
        text.insert(place, text.substr(sequence.below(text.size()), 12));
        break;
    }
  }
  return text;
}

// Copies the current member or element. Values that the encoder has no call for
// (null, large and real numbers) are copied as strings.
void copyCurrent(pps_decoder_t* from, pps_encoder_t* to, const char* name);

void copyChildren(pps_decoder_t* from, pps_encoder_t* to) {
  const int count = pps_decoder_length(from);
  for (int i = 0; i < count; ++i) {
    ASSERT_EQ(PPS_OK, pps_decoder_goto_index(from, i));
    pps_decoder_state_t state = {};
    ASSERT_EQ(PPS_OK, pps_decoder_get_state(from, &state));
    copyCurrent(from, to, state.name);
  }
}

void copyContainer(pps_decoder_t* from, pps_encoder_t* to, const char* name) {
  pps_decoder_state_t first = {};
  ASSERT_EQ(PPS_OK, pps_decoder_get_state(from, &first));
  if (first.name != nullptr) {
    ASSERT_EQ(PPS_OK, pps_encoder_start_object(to, name));
    copyChildren(from, to);
    ASSERT_EQ(PPS_OK, pps_encoder_end_object(to));
  } else {
    ASSERT_EQ(PPS_OK, pps_encoder_start_array(to, name));
    copyChildren(from, to);
    ASSERT_EQ(PPS_OK, pps_encoder_end_array(to));
  }
}

void copyCurrent(pps_decoder_t* from, pps_encoder_t* to, const char* name) {
  const char* string = nullptr;
  int number = 0;
  bool flag = false;
  if (pps_decoder_get_string(from, nullptr, &string) == PPS_OK) {
    ASSERT_EQ(PPS_OK, pps_encoder_add_string(to, name, string));
  } else if (pps_decoder_get_int(from, nullptr, &number) == PPS_OK) {
    ASSERT_EQ(PPS_OK, pps_encoder_add_int(to, name, number));
  } else if (pps_decoder_get_bool(from, nullptr, &flag) == PPS_OK) {
    ASSERT_EQ(PPS_OK, pps_encoder_add_bool(to, name, flag));
  } else if (pps_decoder_push(from, nullptr) == PPS_OK) {
    copyContainer(from, to, name);
    ASSERT_EQ(PPS_OK, pps_decoder_pop(from));
  } else {
    ASSERT_EQ(PPS_OK, pps_encoder_add_string(to, name, "other"));
  }
}

// The values of a parsed text, written as JSON.
std::string rewrite(pps_decoder_t* decoder) {
  TestEncoder encoder(Form::Json);
  copyCurrent(decoder, encoder, nullptr);
  return encoder.text();
}

struct Case {
  Form form;
  std::string text;
};

class Mutation : public testing::TestWithParam<Case> {};

TEST_P(Mutation, LeavesATextThatIsRefusedOrReadsBackTheSame) {
  Sequence sequence(20111);
  int taken = 0;
  for (int i = 0; i < 20000; ++i) {
    const std::string text = damage(GetParam().text, sequence);
    TestDecoder decoder;
    if (decoder.parse(GetParam().form, text) != PPS_OK) continue;
    ++taken;
    const std::string written = rewrite(decoder);
    TestDecoder again;
    ASSERT_EQ(PPS_OK, again.parse(Form::Json, written)) << text;
    ASSERT_EQ(written, rewrite(again)) << text;
  }
  EXPECT_LT(0, taken);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, Mutation,
    testing::Values(
        Case{Form::Json, R"({"a":"x\n\u00e9","b":[1,-20,3.5e2,null,true],"c":{"d":{},"e":[[]]}})"},
        Case{Form::Json, R"(["\ud83d\ude00","","\\\"",{"k":"v","l":"w"},12345678901])"},
        Case{Form::Attributes, "msg::show\nid::321\ndat:json:{\"a\":[1,\"\\n\"]}\nn:json:5\n"}));

}  // namespace
