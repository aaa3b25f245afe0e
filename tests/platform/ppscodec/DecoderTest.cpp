#include <string>

#include <gtest/gtest.h>

#include "platform/ppscodec/ppscodec.h"
#include "tests/platform/ppscodec/Codec.h"

namespace {

TEST(Decoder, ReadsMembersInAnyOrder) {
  TestDecoder decoder;
  decoder.enter(Form::Json, R"( { "a" : "x" , "b" : -5 , "c" : true , "" : "y" } )");
  bool flag = false;
  EXPECT_EQ(PPS_OK, pps_decoder_get_bool(decoder, "c", &flag));
  EXPECT_TRUE(flag);
  EXPECT_EQ("y", decoder.string(""));
  EXPECT_EQ(-5, decoder.integer("b"));
  EXPECT_EQ("x", decoder.string("a"));
}

TEST(Decoder, DecodesEscapes) {
  TestDecoder decoder;
  decoder.enter(Form::Json, R"(["\"\\\/\b\f\n\r\t\u0041\u00e9\u20ac\ud83d\ude00"])");
  EXPECT_EQ("\"\\/\b\f\n\r\tA\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80", decoder.string(nullptr));
}

TEST(Decoder, FindsANameThatWasEscaped) {
  TestDecoder decoder;
  decoder.enter(Form::Json, R"({"\u0061b":1})");
  EXPECT_EQ(1, decoder.integer("ab"));
}

TEST(Decoder, WalksObjectsInsideAnArray) {
  TestDecoder decoder;
  decoder.enter(Form::Json, R"({"chain":[{"der":"one"},{"der":"two"}],"after":1})");
  ASSERT_EQ(PPS_OK, pps_decoder_push(decoder, "chain"));
  EXPECT_EQ(2, pps_decoder_length(decoder));
  ASSERT_EQ(PPS_OK, pps_decoder_push(decoder, nullptr));
  EXPECT_EQ("one", decoder.string("der"));
  ASSERT_EQ(PPS_OK, pps_decoder_pop(decoder));
  ASSERT_EQ(PPS_OK, pps_decoder_push(decoder, nullptr));
  EXPECT_EQ("two", decoder.string("der"));
  ASSERT_EQ(PPS_OK, pps_decoder_pop(decoder));
  EXPECT_EQ(PPS_ABSENT, pps_decoder_push(decoder, nullptr));
  ASSERT_EQ(PPS_OK, pps_decoder_pop(decoder));
  EXPECT_EQ(1, decoder.integer("after"));
}

TEST(Decoder, ReadingAnElementMovesOnToTheNext) {
  TestDecoder decoder;
  decoder.enter(Form::Json, R"(["a",2,true])");
  bool flag = false;
  EXPECT_EQ("a", decoder.string(nullptr));
  EXPECT_EQ(2, decoder.integer(nullptr));
  EXPECT_EQ(PPS_OK, pps_decoder_get_bool(decoder, nullptr, &flag));
  EXPECT_TRUE(flag);
}

TEST(Decoder, PastTheLastElementEverythingIsAbsent) {
  TestDecoder decoder;
  decoder.enter(Form::Json, "[1]");
  decoder.integer(nullptr);
  bool flag = false;
  int number = 0;
  const char* text = nullptr;
  EXPECT_EQ(PPS_ABSENT, pps_decoder_get_bool(decoder, nullptr, &flag));
  EXPECT_EQ(PPS_ABSENT, pps_decoder_get_int(decoder, nullptr, &number));
  EXPECT_EQ(PPS_ABSENT, pps_decoder_get_string(decoder, nullptr, &text));
  EXPECT_EQ(PPS_ABSENT, pps_decoder_push(decoder, nullptr));
}

TEST(Decoder, AFailedReadStaysAtItsElement) {
  TestDecoder decoder;
  decoder.enter(Form::Json, R"(["a"])");
  int number = 0;
  EXPECT_EQ(PPS_WRONG_KIND, pps_decoder_get_int(decoder, nullptr, &number));
  EXPECT_EQ("a", decoder.string(nullptr));
}

TEST(Decoder, AnAbsentMemberLeavesTheOutputAlone) {
  TestDecoder decoder;
  decoder.enter(Form::Json, R"({"a":1})");
  bool flag = true;
  int number = 7;
  const char* text = "kept";
  EXPECT_EQ(PPS_ABSENT, pps_decoder_get_bool(decoder, "b", &flag));
  EXPECT_EQ(PPS_ABSENT, pps_decoder_get_int(decoder, "b", &number));
  EXPECT_EQ(PPS_ABSENT, pps_decoder_get_string(decoder, "b", &text));
  EXPECT_EQ(PPS_ABSENT, pps_decoder_push(decoder, "b"));
  EXPECT_TRUE(flag);
  EXPECT_EQ(7, number);
  EXPECT_STREQ("kept", text);
}

TEST(Decoder, ANameInsideAnArrayIsAbsent) {
  TestDecoder decoder;
  decoder.enter(Form::Json, "[1]");
  int number = 0;
  EXPECT_EQ(PPS_ABSENT, pps_decoder_get_int(decoder, "a", &number));
}

class OtherKinds : public testing::TestWithParam<const char*> {
 protected:
  OtherKinds() { decoder_.enter(Form::Json, std::string("{\"m\":") + GetParam() + "}"); }

  TestDecoder decoder_;
};

class NoBool : public OtherKinds {};
class NoInt : public OtherKinds {};
class NoString : public OtherKinds {};
class NoContainer : public OtherKinds {};

TEST_P(NoBool, IsOfTheWrongKindAndLeavesTheOutputAlone) {
  bool flag = true;
  EXPECT_EQ(PPS_WRONG_KIND, pps_decoder_get_bool(decoder_, "m", &flag));
  EXPECT_TRUE(flag);
}

TEST_P(NoInt, IsOfTheWrongKindAndLeavesTheOutputAlone) {
  int number = 7;
  EXPECT_EQ(PPS_WRONG_KIND, pps_decoder_get_int(decoder_, "m", &number));
  EXPECT_EQ(7, number);
}

TEST_P(NoString, IsOfTheWrongKindAndLeavesTheOutputAlone) {
  const char* text = "kept";
  EXPECT_EQ(PPS_WRONG_KIND, pps_decoder_get_string(decoder_, "m", &text));
  EXPECT_STREQ("kept", text);
}

TEST_P(NoContainer, CannotBeEntered) {
  EXPECT_EQ(PPS_WRONG_KIND, pps_decoder_push(decoder_, "m"));
  EXPECT_EQ(1, pps_decoder_length(decoder_));
}

INSTANTIATE_TEST_SUITE_P(All, NoBool,
                         testing::Values("1", "0", "1.5", "99999999999", "\"true\"", "null", "[]",
                                         "{}"));
INSTANTIATE_TEST_SUITE_P(All, NoInt,
                         testing::Values("true", "1.5", "1.0", "1e3", "\"1\"", "null", "[1]",
                                         "{}"));
INSTANTIATE_TEST_SUITE_P(All, NoString,
                         testing::Values("true", "1", "1.5", "99999999999", "null", "[\"a\"]",
                                         "{\"a\":\"b\"}"));
INSTANTIATE_TEST_SUITE_P(All, NoContainer,
                         testing::Values("true", "1", "1.5", "99999999999", "null", "\"[]\""));

TEST(Decoder, LengthIsThatOfTheContainerItStandsIn) {
  TestDecoder decoder;
  decoder.enter(Form::Json, R"({"a":[1,2,3],"b":{}})");
  EXPECT_EQ(2, pps_decoder_length(decoder));
  pps_decoder_push(decoder, "a");
  EXPECT_EQ(3, pps_decoder_length(decoder));
  pps_decoder_pop(decoder);
  pps_decoder_push(decoder, "b");
  EXPECT_EQ(0, pps_decoder_length(decoder));
}

TEST(Decoder, LengthOutsideIsZero) {
  TestDecoder decoder;
  ASSERT_EQ(PPS_OK, decoder.parse(Form::Json, "[1,2]"));
  EXPECT_EQ(0, pps_decoder_length(decoder));
}

TEST(Decoder, GotoIndexMovesToAnyElement) {
  TestDecoder decoder;
  decoder.enter(Form::Json, "[10,11,12]");
  EXPECT_EQ(PPS_OK, pps_decoder_goto_index(decoder, 2));
  EXPECT_EQ(12, decoder.integer(nullptr));
  EXPECT_EQ(PPS_OK, pps_decoder_goto_index(decoder, 0));
  EXPECT_EQ(10, decoder.integer(nullptr));
}

TEST(Decoder, GotoIndexOutOfRangeIsAbsentAndStays) {
  TestDecoder decoder;
  decoder.enter(Form::Json, "[10,11,12]");
  EXPECT_EQ(PPS_ABSENT, pps_decoder_goto_index(decoder, 3));
  EXPECT_EQ(PPS_ABSENT, pps_decoder_goto_index(decoder, -1));
  EXPECT_EQ(10, decoder.integer(nullptr));
}

TEST(Decoder, GotoIndexOutsideIsAbsent) {
  TestDecoder decoder;
  ASSERT_EQ(PPS_OK, decoder.parse(Form::Json, "[1]"));
  EXPECT_EQ(PPS_ABSENT, pps_decoder_goto_index(decoder, 0));
}

TEST(Decoder, StateGivesTheStringAndDoesNotMoveOn) {
  TestDecoder decoder;
  decoder.enter(Form::Json, R"(["a","b"])");
  pps_decoder_state_t state = {};
  EXPECT_EQ(PPS_OK, pps_decoder_get_state(decoder, &state));
  EXPECT_EQ(PPS_OK, pps_decoder_get_state(decoder, &state));
  EXPECT_STREQ("a", state.string);
  EXPECT_EQ(nullptr, state.name);
}

TEST(Decoder, StateOfAnElementThatIsNoStringHasNone) {
  TestDecoder decoder;
  decoder.enter(Form::Json, "[5]");
  pps_decoder_state_t state = {"name", "string", false};
  EXPECT_EQ(PPS_OK, pps_decoder_get_state(decoder, &state));
  EXPECT_EQ(nullptr, state.string);
}

TEST(Decoder, StatePastTheLastElementIsEmpty) {
  TestDecoder decoder;
  decoder.enter(Form::Json, "[]");
  pps_decoder_state_t state = {"name", "string", false};
  EXPECT_EQ(PPS_OK, pps_decoder_get_state(decoder, &state));
  EXPECT_EQ(nullptr, state.name);
  EXPECT_EQ(nullptr, state.string);
}

TEST(Decoder, MembersCanBeWalkedByNumber) {
  TestDecoder decoder;
  decoder.enter(Form::Json, R"({"a":"x","b":"y"})");
  pps_decoder_state_t state = {};
  EXPECT_EQ(PPS_OK, pps_decoder_goto_index(decoder, 1));
  EXPECT_EQ(PPS_OK, pps_decoder_get_state(decoder, &state));
  EXPECT_STREQ("b", state.name);
  EXPECT_EQ("y", decoder.string(nullptr));
}

TEST(Decoder, ReadingByNameDoesNotMoveTheCurrentMember) {
  TestDecoder decoder;
  decoder.enter(Form::Json, R"({"a":"x","b":{}})");
  decoder.string("a");
  pps_decoder_push(decoder, "b");
  pps_decoder_pop(decoder);
  EXPECT_EQ("x", decoder.string(nullptr));
}

TEST(Decoder, ATopLevelScalarIsReadFromOutside) {
  TestDecoder decoder;
  ASSERT_EQ(PPS_OK, decoder.parse(Form::Json, " 5 "));
  EXPECT_EQ(5, decoder.integer(nullptr));
}

TEST(Decoder, ATopLevelScalarCannotBeEntered) {
  TestDecoder decoder;
  ASSERT_EQ(PPS_OK, decoder.parse(Form::Json, "\"a\""));
  EXPECT_EQ(PPS_WRONG_KIND, pps_decoder_push(decoder, nullptr));
}

TEST(Decoder, ANameOutsideIsAbsent) {
  TestDecoder decoder;
  ASSERT_EQ(PPS_OK, decoder.parse(Form::Json, "{}"));
  EXPECT_EQ(PPS_ABSENT, pps_decoder_push(decoder, "a"));
}

TEST(Decoder, TheTopLevelObjectMayBeEnteredAgain) {
  TestDecoder decoder;
  decoder.enter(Form::Json, R"({"a":1})");
  EXPECT_EQ(PPS_OK, pps_decoder_pop(decoder));
  EXPECT_EQ(PPS_OK, pps_decoder_push(decoder, nullptr));
  EXPECT_EQ(1, decoder.integer("a"));
}

TEST(Decoder, PopOutsideIsABadState) {
  TestDecoder decoder;
  ASSERT_EQ(PPS_OK, decoder.parse(Form::Json, "{}"));
  EXPECT_EQ(PPS_BAD_STATE, pps_decoder_pop(decoder));
}

TEST(Decoder, ASecondTextReplacesTheFirst) {
  TestDecoder decoder;
  decoder.enter(Form::Json, R"({"a":{"b":1}})");
  pps_decoder_push(decoder, "a");
  decoder.enter(Form::Attributes, "c::new\n");
  EXPECT_EQ(1, pps_decoder_length(decoder));
  EXPECT_EQ("new", decoder.string("c"));
}

TEST(Decoder, AFailedParseLeavesNoText) {
  TestDecoder decoder;
  decoder.enter(Form::Json, R"({"a":1})");
  ASSERT_EQ(PPS_BAD_SYNTAX, decoder.parse(Form::Json, R"({"a":1,)"));
  int number = 0;
  EXPECT_EQ(PPS_BAD_STATE, pps_decoder_get_int(decoder, "a", &number));
  EXPECT_EQ(0, pps_decoder_length(decoder));
}

TEST(Decoder, WithoutATextEveryCallIsABadState) {
  TestDecoder decoder;
  bool flag = false;
  int number = 0;
  const char* text = nullptr;
  pps_decoder_state_t state = {"name", "string", false};
  EXPECT_EQ(PPS_BAD_STATE, pps_decoder_push(decoder, nullptr));
  EXPECT_EQ(PPS_BAD_STATE, pps_decoder_pop(decoder));
  EXPECT_EQ(PPS_BAD_STATE, pps_decoder_get_bool(decoder, "a", &flag));
  EXPECT_EQ(PPS_BAD_STATE, pps_decoder_get_int(decoder, "a", &number));
  EXPECT_EQ(PPS_BAD_STATE, pps_decoder_get_string(decoder, "a", &text));
  EXPECT_EQ(PPS_BAD_STATE, pps_decoder_goto_index(decoder, 0));
  EXPECT_EQ(PPS_BAD_STATE, pps_decoder_get_state(decoder, &state));
  EXPECT_EQ(nullptr, state.string);
}

TEST(Decoder, InitializeWithATextParsesItAsAttributes) {
  std::string text = "msg::show\n";
  pps_decoder_t decoder;
  EXPECT_EQ(PPS_OK, pps_decoder_initialize(&decoder, text.data()));
  EXPECT_EQ(PPS_OK, pps_decoder_push(&decoder, nullptr));
  const char* value = nullptr;
  EXPECT_EQ(PPS_OK, pps_decoder_get_string(&decoder, "msg", &value));
  EXPECT_STREQ("show", value);
  pps_decoder_cleanup(&decoder);
}

TEST(Decoder, InitializeWithABadTextLeavesADecoderThatParsesAnother) {
  std::string bad = "no attribute";
  std::string good = "{}";
  pps_decoder_t decoder;
  EXPECT_EQ(PPS_BAD_SYNTAX, pps_decoder_initialize(&decoder, bad.data()));
  EXPECT_EQ(PPS_OK, pps_decoder_parse_json_str(&decoder, good.data()));
  pps_decoder_cleanup(&decoder);
}

TEST(Decoder, CleanupZeroesTheState) {
  std::string text = "[]";
  pps_decoder_t decoder;
  ASSERT_EQ(PPS_OK, pps_decoder_initialize(&decoder, nullptr));
  ASSERT_EQ(PPS_OK, pps_decoder_parse_json_str(&decoder, text.data()));
  pps_decoder_cleanup(&decoder);
  EXPECT_EQ(nullptr, decoder.impl);
}

TEST(Decoder, CleanupOfAZeroedOrCleanedStateChangesNothing) {
  pps_decoder_t decoder = {};
  pps_decoder_cleanup(&decoder);
  pps_decoder_cleanup(&decoder);
  pps_decoder_cleanup(nullptr);
  EXPECT_EQ(nullptr, decoder.impl);
}

class UnreadyDecoder : public testing::TestWithParam<pps_decoder_t*> {};

TEST_P(UnreadyDecoder, IsABadArgumentEverywhere) {
  bool flag = false;
  int number = 0;
  const char* value = nullptr;
  std::string text = "{}";
  pps_decoder_state_t state = {};
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_decoder_parse_json_str(GetParam(), text.data()));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_decoder_parse_pps_str(GetParam(), text.data()));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_decoder_push(GetParam(), nullptr));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_decoder_pop(GetParam()));
  EXPECT_EQ(0, pps_decoder_length(GetParam()));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_decoder_get_bool(GetParam(), nullptr, &flag));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_decoder_get_int(GetParam(), nullptr, &number));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_decoder_get_string(GetParam(), nullptr, &value));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_decoder_goto_index(GetParam(), 0));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_decoder_get_state(GetParam(), &state));
}

pps_decoder_t zeroedDecoder = {};
INSTANTIATE_TEST_SUITE_P(NullAndZeroed, UnreadyDecoder, testing::Values(nullptr, &zeroedDecoder));

TEST(Decoder, NullOutputsAndTextsAreBadArguments) {
  TestDecoder decoder;
  decoder.enter(Form::Json, R"({"a":1})");
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_decoder_initialize(nullptr, nullptr));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_decoder_parse_json_str(decoder, nullptr));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_decoder_parse_pps_str(decoder, nullptr));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_decoder_get_bool(decoder, "a", nullptr));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_decoder_get_int(decoder, "a", nullptr));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_decoder_get_string(decoder, "a", nullptr));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_decoder_get_state(decoder, nullptr));
}

}  // namespace
