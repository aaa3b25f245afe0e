#include <string>

#include <gtest/gtest.h>

#include "platform/ppscodec/ppscodec.h"
#include "tests/platform/ppscodec/Codec.h"

namespace {

// Every byte that a C string can hold.
std::string everyByte() {
  std::string bytes;
  for (int byte = 1; byte < 256; ++byte) bytes += static_cast<char>(byte);
  return bytes;
}

std::string everyByteButControls() {
  std::string bytes;
  for (int byte = 0x20; byte < 256; ++byte) {
    if (byte != 0x7f) bytes += static_cast<char>(byte);
  }
  return bytes;
}

// The text of an object with one string member.
std::string encode(Form form, const std::string& name, const std::string& value) {
  TestEncoder encoder(form);
  EXPECT_EQ(PPS_OK, pps_encoder_start_object(encoder, nullptr));
  EXPECT_EQ(PPS_OK, pps_encoder_add_string(encoder, name.c_str(), value.c_str()));
  EXPECT_EQ(PPS_OK, pps_encoder_end_object(encoder));
  return encoder.text();
}

class StringRoundTrip : public testing::TestWithParam<std::string> {};

TEST_P(StringRoundTrip, ThroughAJsonMember) {
  TestDecoder decoder;
  decoder.enter(Form::Json, encode(Form::Json, "member", GetParam()));
  EXPECT_EQ(GetParam(), decoder.string("member"));
}

TEST_P(StringRoundTrip, ThroughAnAttribute) {
  TestDecoder decoder;
  decoder.enter(Form::Attributes, encode(Form::Attributes, "member", GetParam()));
  EXPECT_EQ(GetParam(), decoder.string("member"));
}

TEST_P(StringRoundTrip, ThroughAJsonName) {
  TestDecoder decoder;
  decoder.enter(Form::Json, encode(Form::Json, GetParam(), "value"));
  EXPECT_EQ("value", decoder.string(GetParam().c_str()));
}

INSTANTIATE_TEST_SUITE_P(Bytes, StringRoundTrip,
                         testing::Values("", "plain", everyByte(), everyByteButControls(),
                                         everyByteButControls() + "\n", "\"", "\\", "\\u0041",
                                         "a\nb\r\n", ":json:{}", " spaces around "));
INSTANTIATE_TEST_SUITE_P(Characters, StringRoundTrip,
                         testing::Values("\xe2\x80\xa8 \xe2\x80\xa9", "\xc3\xa9",
                                         "\xf0\x9f\x98\x80", "\xef\xbb\xbf"));
INSTANTIATE_TEST_SUITE_P(InvalidUtf8, StringRoundTrip,
                         testing::Values("\x80", "\xc3", "\xc3\"", "\xc0\xaf", "\xed\xb0\x80",
                                         "\xed\xa0\x80", "\xf8\x88\x80\x80\x80", "\xff\xfe"));

TEST(NameRoundTrip, ThroughTheNameOfAnAttribute) {
  std::string name;
  for (const char byte : everyByteButControls()) {
    if (byte != ':') name += byte;
  }
  TestDecoder decoder;
  decoder.enter(Form::Attributes, encode(Form::Attributes, name, "value"));
  EXPECT_EQ("value", decoder.string(name.c_str()));
}

class LongStrings : public testing::TestWithParam<Form> {};

TEST_P(LongStrings, PastSixtyFourKibibytesSurvive) {
  const std::string value = std::string(65536, 'x') + "\n" + std::string(65536, 'y');
  TestDecoder decoder;
  decoder.enter(GetParam(), encode(GetParam(), "member", value));
  EXPECT_TRUE(decoder.string("member") == value);
}

TEST_P(LongStrings, OfSixteenMebibytesSurvive) {
  const std::string value(16 * 1024 * 1024, 'x');
  TestDecoder decoder;
  decoder.enter(GetParam(), encode(GetParam(), "member", value));
  EXPECT_TRUE(decoder.string("member") == value);
}

INSTANTIATE_TEST_SUITE_P(BothForms, LongStrings, testing::Values(Form::Json, Form::Attributes));

class ManyMembers : public testing::TestWithParam<Form> {};

TEST_P(ManyMembers, AllSurvive) {
  constexpr int count = 100000;
  TestEncoder encoder(GetParam());
  pps_encoder_start_object(encoder, nullptr);
  for (int i = 0; i < count; ++i) {
    pps_encoder_add_int(encoder, ("member" + std::to_string(i)).c_str(), i);
  }
  pps_encoder_end_object(encoder);

  TestDecoder decoder;
  decoder.enter(GetParam(), encoder.text());
  EXPECT_EQ(count, pps_decoder_length(decoder));
  int sum = 0;
  for (int i = 0; i < count; ++i) sum += decoder.integer(nullptr) == i ? 1 : 0;
  EXPECT_EQ(count, sum);
  EXPECT_EQ(count - 1, decoder.integer(("member" + std::to_string(count - 1)).c_str()));
}

INSTANTIATE_TEST_SUITE_P(BothForms, ManyMembers, testing::Values(Form::Json, Form::Attributes));

}  // namespace
