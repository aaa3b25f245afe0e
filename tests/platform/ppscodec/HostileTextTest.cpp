#include <string>

#include <gtest/gtest.h>

#include "platform/ppscodec/ppscodec.h"
#include "tests/platform/ppscodec/Codec.h"

namespace {

struct Case {
  std::string text;
  int result;
};

class HostileJson : public testing::TestWithParam<Case> {};

TEST_P(HostileJson, IsRefusedWithItsCode) {
  EXPECT_EQ(GetParam().result, resultOf(Form::Json, GetParam().text)) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(
    NotJson, HostileJson,
    testing::Values(Case{"", PPS_BAD_SYNTAX}, Case{" \n", PPS_BAD_SYNTAX},
                    Case{"{", PPS_BAD_SYNTAX}, Case{"]", PPS_BAD_SYNTAX},
                    Case{"[}", PPS_BAD_SYNTAX}, Case{"{]", PPS_BAD_SYNTAX},
                    Case{"[1,]", PPS_BAD_SYNTAX}, Case{"{\"a\":1,}", PPS_BAD_SYNTAX},
                    Case{"{\"a\"}", PPS_BAD_SYNTAX}, Case{"{\"a\":}", PPS_BAD_SYNTAX},
                    Case{"{a:1}", PPS_BAD_SYNTAX}, Case{"{1:1}", PPS_BAD_SYNTAX},
                    Case{"['a']", PPS_BAD_SYNTAX}, Case{"[tru]", PPS_BAD_SYNTAX},
                    Case{"[True]", PPS_BAD_SYNTAX}, Case{"[1 2]", PPS_BAD_SYNTAX},
                    Case{"[1]//", PPS_BAD_SYNTAX}, Case{"\xef\xbb\xbf{}", PPS_BAD_SYNTAX}));
INSTANTIATE_TEST_SUITE_P(TrailingGarbage, HostileJson,
                         testing::Values(Case{"{}x", PPS_BAD_SYNTAX}, Case{"{}{}", PPS_BAD_SYNTAX},
                                         Case{"{},", PPS_BAD_SYNTAX}, Case{"5 5", PPS_BAD_SYNTAX},
                                         Case{"\"a\"\"b\"", PPS_BAD_SYNTAX}));
INSTANTIATE_TEST_SUITE_P(RawControlCharacters, HostileJson,
                         testing::Values(Case{"[\"a\nb\"]", PPS_BAD_SYNTAX},
                                         Case{"[\"\x01\"]", PPS_BAD_SYNTAX},
                                         Case{"[\"\x1f\"]", PPS_BAD_SYNTAX}));
INSTANTIATE_TEST_SUITE_P(Escapes, HostileJson,
                         testing::Values(Case{R"(["\x41"])", PPS_BAD_SYNTAX},
                                         Case{R"(["\u12"])", PPS_BAD_SYNTAX},
                                         Case{R"(["\u12g4"])", PPS_BAD_SYNTAX},
                                         Case{R"(["\)", PPS_BAD_SYNTAX},
                                         Case{R"(["\")", PPS_BAD_SYNTAX}));
INSTANTIATE_TEST_SUITE_P(LoneSurrogates, HostileJson,
                         testing::Values(Case{R"(["\ud800"])", PPS_BAD_STRING},
                                         Case{R"(["\udbff"])", PPS_BAD_STRING},
                                         Case{R"(["\udc00"])", PPS_BAD_STRING},
                                         Case{R"(["\udfff"])", PPS_BAD_STRING},
                                         Case{R"(["\ud800\u0041"])", PPS_BAD_STRING},
                                         Case{R"(["\ud800\ud800"])", PPS_BAD_STRING},
                                         Case{R"(["\ud800A"])", PPS_BAD_STRING},
                                         Case{R"(["\udc00\ud800"])", PPS_BAD_STRING},
                                         Case{R"(["\ud83d\ude00\ude00"])", PPS_BAD_STRING},
                                         Case{R"({"\ud800":1})", PPS_BAD_STRING},
                                         Case{R"({"\udc00":1})", PPS_BAD_STRING}));
INSTANTIATE_TEST_SUITE_P(EscapedNul, HostileJson,
                         testing::Values(Case{R"(["\u0000"])", PPS_BAD_STRING},
                                         Case{R"(["good.test\u0000.evil.test"])", PPS_BAD_STRING},
                                         Case{R"({"\u0000":1})", PPS_BAD_STRING},
                                         Case{R"({"a\u0000b":1})", PPS_BAD_STRING}));
INSTANTIATE_TEST_SUITE_P(Duplicates, HostileJson,
                         testing::Values(Case{R"({"a":1,"a":1})", PPS_DUPLICATE},
                                         Case{R"({"a":1,"b":2,"c":3,"b":4})", PPS_DUPLICATE},
                                         Case{R"({"a":1,"\u0061":2})", PPS_DUPLICATE},
                                         Case{R"({"":1,"":2})", PPS_DUPLICATE},
                                         Case{R"([{"x":[{"a":1,"a":{}}]}])", PPS_DUPLICATE}));
INSTANTIATE_TEST_SUITE_P(
    Nesting, HostileJson,
    testing::Values(Case{repeat("[", 100000), PPS_TOO_DEEP},
                    Case{repeat("[", 100000) + repeat("]", 100000), PPS_TOO_DEEP},
                    Case{repeat("{\"a\":", 100000), PPS_TOO_DEEP},
                    Case{repeat("[{\"a\":", 100000), PPS_TOO_DEEP},
                    Case{repeat("[", PPS_MAX_DEPTH + 1) + repeat("]", PPS_MAX_DEPTH + 1),
                         PPS_TOO_DEEP}));

TEST(Json, TheSameNameMayStandInTwoObjects) {
  EXPECT_EQ(PPS_OK, resultOf(Form::Json, R"({"a":{"a":[{"a":1},{"a":1}]}})"));
}

TEST(Json, NamesThatDifferInCaseOrLengthAreNoDuplicates) {
  EXPECT_EQ(PPS_OK, resultOf(Form::Json, R"({"a":1,"A":1,"aa":1,"":1})"));
}

TEST(Json, TheDeepestLevelCanBeEntered) {
  TestDecoder decoder;
  ASSERT_EQ(PPS_OK, decoder.parse(Form::Json,
                                  repeat("[", PPS_MAX_DEPTH) + "5" + repeat("]", PPS_MAX_DEPTH)));
  for (int i = 0; i < PPS_MAX_DEPTH; ++i) EXPECT_EQ(PPS_OK, pps_decoder_push(decoder, nullptr));
  EXPECT_EQ(5, decoder.integer(nullptr));
}

TEST(Json, ManyShallowContainersAreNoNesting) {
  EXPECT_EQ(PPS_OK, resultOf(Form::Json, "[" + repeat("[],{},", 1000) + "[]]"));
}

TEST(Json, ATextOfTheGreatestLengthIsRead) {
  TestDecoder decoder;
  ASSERT_EQ(PPS_OK, decoder.parse(Form::Json, "5" + std::string(PPS_MAX_LENGTH - 1, ' ')));
  EXPECT_EQ(5, decoder.integer(nullptr));
}

TEST(Json, ATextPastTheGreatestLengthIsRefused) {
  EXPECT_EQ(PPS_TOO_BIG, resultOf(Form::Json, "5" + std::string(PPS_MAX_LENGTH, ' ')));
}

TEST(AttributeText, PastTheGreatestLengthIsRefused) {
  EXPECT_EQ(PPS_TOO_BIG, resultOf(Form::Attributes, "a::" + std::string(PPS_MAX_LENGTH - 2, 'x')));
}

const std::string wholeJson =
    R"({"version":1,"domain":"h\u00f6st\n.test","n":-2.5e3,"chain":[{"der":"QUJD"},null,true]})";

class CutJson : public testing::TestWithParam<std::size_t> {};

TEST_P(CutJson, IsNeverTakenForAWholeText) {
  EXPECT_EQ(PPS_BAD_SYNTAX, resultOf(Form::Json, wholeJson.substr(0, GetParam())));
}

INSTANTIATE_TEST_SUITE_P(AtEveryByte, CutJson, testing::Range(std::size_t{0}, wholeJson.size()));

TEST(CutJson, UncutIsTaken) {
  EXPECT_EQ(PPS_OK, resultOf(Form::Json, wholeJson));
}

const std::string wholeAttributes = "id::321\nwhy:json:\"a\\nb\"\ndat:json:{\"s\":\"xyz\"}\n";

class CutAttributes : public testing::TestWithParam<std::size_t> {
 protected:
  CutAttributes() { result_ = decoder_.parse(Form::Attributes, cut()); }

  static std::string cut() { return wholeAttributes.substr(0, GetParam()); }

  // Whether the text up to and with `end` is still there.
  static bool reaches(const std::string& end) { return cut().find(end) != std::string::npos; }

  TestDecoder decoder_;
  int result_;
};

TEST_P(CutAttributes, AreRefusedOrHoldWholeJsonStrings) {
  if (result_ != PPS_OK) {
    EXPECT_EQ(PPS_BAD_SYNTAX, result_);
    return;
  }
  ASSERT_EQ(PPS_OK, pps_decoder_push(decoder_, nullptr));
  const char* why = "a\nb";
  EXPECT_EQ(reaches("a\\nb\"") ? PPS_OK : PPS_ABSENT,
            pps_decoder_get_string(decoder_, "why", &why));
  EXPECT_STREQ("a\nb", why);
  ASSERT_EQ(reaches("\"}") ? PPS_OK : PPS_ABSENT, pps_decoder_push(decoder_, "dat"));
  const char* string = "xyz";
  EXPECT_EQ(reaches("\"}") ? PPS_OK : PPS_ABSENT, pps_decoder_get_string(decoder_, "s", &string));
  EXPECT_STREQ("xyz", string);
}

INSTANTIATE_TEST_SUITE_P(AtEveryByte, CutAttributes,
                         testing::Range(std::size_t{0}, wholeAttributes.size() + 1));

}  // namespace
