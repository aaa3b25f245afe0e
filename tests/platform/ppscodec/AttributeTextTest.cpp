#include <string>

#include <gtest/gtest.h>

#include "platform/ppscodec/ppscodec.h"
#include "tests/platform/ppscodec/Codec.h"

namespace {

TEST(AttributeText, ReadsPlainAndJsonAttributes) {
  TestDecoder decoder;
  decoder.enter(Form::Attributes, "msg::show\nid::321\ndat:json:{\"accepted\":true}\n");
  EXPECT_EQ(3, pps_decoder_length(decoder));
  EXPECT_EQ("321", decoder.string("id"));
  EXPECT_EQ("show", decoder.string("msg"));
  bool accepted = false;
  ASSERT_EQ(PPS_OK, pps_decoder_push(decoder, "dat"));
  EXPECT_EQ(PPS_OK, pps_decoder_get_bool(decoder, "accepted", &accepted));
  EXPECT_TRUE(accepted);
}

TEST(AttributeText, LastLineMayLackItsLineFeed) {
  TestDecoder decoder;
  decoder.enter(Form::Attributes, "a::1\nb::2");
  EXPECT_EQ("2", decoder.string("b"));
}

TEST(AttributeText, EmptyTextIsAnObjectWithoutMembers) {
  TestDecoder decoder;
  decoder.enter(Form::Attributes, "");
  EXPECT_EQ(0, pps_decoder_length(decoder));
}

TEST(AttributeText, PlainValueIsEveryByteUpToTheLineFeed) {
  TestDecoder decoder;
  decoder.enter(Form::Attributes, "n:: a:b::\"\\n\t\r\x01\xff \n");
  EXPECT_EQ(" a:b::\"\\n\t\r\x01\xff ", decoder.string("n"));
}

TEST(AttributeText, PlainDigitsAreAString) {
  TestDecoder decoder;
  decoder.enter(Form::Attributes, "n::5\n");
  int number = 7;
  EXPECT_EQ(PPS_WRONG_KIND, pps_decoder_get_int(decoder, "n", &number));
  EXPECT_EQ("5", decoder.string("n"));
}

TEST(AttributeText, JsonScalarsAreReadAsWhatTheyAre) {
  TestDecoder decoder;
  decoder.enter(Form::Attributes, "n:json:5\ns:json: \"a\\nb\" \nb:json:true\n");
  bool flag = false;
  EXPECT_EQ(5, decoder.integer("n"));
  EXPECT_EQ("a\nb", decoder.string("s"));
  EXPECT_EQ(PPS_OK, pps_decoder_get_bool(decoder, "b", &flag));
  EXPECT_TRUE(flag);
}

struct Case {
  const char* text;
  int result;
};

class AttributeTextRefused : public testing::TestWithParam<Case> {};

TEST_P(AttributeTextRefused, WithItsCode) {
  EXPECT_EQ(GetParam().result, resultOf(Form::Attributes, GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Lines, AttributeTextRefused,
    testing::Values(Case{"\n", PPS_BAD_SYNTAX}, Case{"a::1\n\n", PPS_BAD_SYNTAX},
                    Case{"a::1\n\nb::2\n", PPS_BAD_SYNTAX}, Case{"a", PPS_BAD_SYNTAX},
                    Case{"a:", PPS_BAD_SYNTAX}, Case{"a:json", PPS_BAD_SYNTAX},
                    Case{"a\n::b\n", PPS_BAD_SYNTAX}, Case{"a:\n:b\n", PPS_BAD_SYNTAX}));
INSTANTIATE_TEST_SUITE_P(Names, AttributeTextRefused,
                         testing::Values(Case{"::1\n", PPS_BAD_SYNTAX},
                                         Case{"a\tb::1\n", PPS_BAD_SYNTAX},
                                         Case{"\x7f::1\n", PPS_BAD_SYNTAX},
                                         Case{"a::1\nb::2\na:json:3\n", PPS_DUPLICATE}));
INSTANTIATE_TEST_SUITE_P(Encodings, AttributeTextRefused,
                         testing::Values(Case{"a:n:1\n", PPS_BAD_SYNTAX},
                                         Case{"a:JSON:1\n", PPS_BAD_SYNTAX},
                                         Case{"a:json :1\n", PPS_BAD_SYNTAX},
                                         Case{"a: :1\n", PPS_BAD_SYNTAX}));
INSTANTIATE_TEST_SUITE_P(Json, AttributeTextRefused,
                         testing::Values(Case{"a:json:\n", PPS_BAD_SYNTAX},
                                         Case{"a:json:{\nb::2\n", PPS_BAD_SYNTAX},
                                         Case{"a:json:[1\n]\n", PPS_BAD_SYNTAX},
                                         Case{"a:json:1 2\n", PPS_BAD_SYNTAX},
                                         Case{"a:json:{\"b\":1,\"b\":2}\n", PPS_DUPLICATE},
                                         Case{"a:json:\"\\udc00\"\n", PPS_BAD_STRING},
                                         Case{"a:json:\"\\u0000\"\n", PPS_BAD_STRING},
                                         Case{"a:json:1e400\n", PPS_OUT_OF_RANGE}));

// The whole is the first level, so that an attribute has one less than a JSON text.
TEST(AttributeText, NestsAsDeepAsTheLimit) {
  const int depth = PPS_MAX_DEPTH - 1;
  EXPECT_EQ(PPS_OK,
            resultOf(Form::Attributes, "a:json:" + repeat("[", depth) + repeat("]", depth) + "\n"));
}

TEST(AttributeText, RefusesToNestDeeperThanTheLimit) {
  EXPECT_EQ(PPS_TOO_DEEP, resultOf(Form::Attributes, "a:json:" + repeat("[", PPS_MAX_DEPTH) +
                                                         repeat("]", PPS_MAX_DEPTH) + "\n"));
}

}  // namespace
