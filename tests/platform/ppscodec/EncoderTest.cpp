#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "platform/ppscodec/ppscodec.h"
#include "tests/platform/ppscodec/Codec.h"

namespace {

TEST(JsonEncoder, WritesMembersInTheOrderOfTheCalls) {
  TestEncoder encoder(Form::Json);
  pps_encoder_start_object(encoder, nullptr);
  pps_encoder_add_int(encoder, "version", 1);
  pps_encoder_add_string(encoder, "domain", "host.test");
  pps_encoder_add_bool(encoder, "kept", true);
  pps_encoder_add_bool(encoder, "asked", false);
  EXPECT_EQ(PPS_OK, pps_encoder_end_object(encoder));
  EXPECT_EQ(R"({"version":1,"domain":"host.test","kept":true,"asked":false})", encoder.text());
}

TEST(JsonEncoder, WritesNestedObjectsAndArrays) {
  TestEncoder encoder(Form::Json);
  pps_encoder_start_object(encoder, nullptr);
  pps_encoder_start_array(encoder, "chain");
  pps_encoder_start_object(encoder, nullptr);
  pps_encoder_add_string(encoder, "der", "QQ==");
  pps_encoder_end_object(encoder);
  pps_encoder_start_array(encoder, nullptr);
  pps_encoder_end_array(encoder);
  pps_encoder_add_int(encoder, nullptr, -7);
  pps_encoder_end_array(encoder);
  pps_encoder_start_object(encoder, "empty");
  pps_encoder_end_object(encoder);
  EXPECT_EQ(PPS_OK, pps_encoder_end_object(encoder));
  EXPECT_EQ(R"({"chain":[{"der":"QQ=="},[],-7],"empty":{}})", encoder.text());
}

TEST(JsonEncoder, WritesTheExtremesOfAnInt) {
  TestEncoder encoder(Form::Json);
  pps_encoder_start_array(encoder, nullptr);
  pps_encoder_add_int(encoder, nullptr, INT_MIN);
  pps_encoder_add_int(encoder, nullptr, INT_MAX);
  pps_encoder_end_array(encoder);
  EXPECT_EQ("[" + std::to_string(INT_MIN) + "," + std::to_string(INT_MAX) + "]", encoder.text());
}

TEST(JsonEncoder, EscapesQuotesBackslashesAndControlCharacters) {
  TestEncoder encoder(Form::Json);
  pps_encoder_add_string(encoder, nullptr, "\" \\ / \b\f\n\r\t \x01\x1f\x7f");
  EXPECT_EQ(R"("\" \\ / \b\f\n\r\t \u0001\u001f\u007f")", encoder.text());
}

TEST(JsonEncoder, EscapesNamesToo) {
  TestEncoder encoder(Form::Json);
  pps_encoder_start_object(encoder, nullptr);
  pps_encoder_add_int(encoder, "a\"\n:", 1);
  pps_encoder_end_object(encoder);
  EXPECT_EQ(R"({"a\"\n:":1})", encoder.text());
}

TEST(JsonEncoder, WritesAScalarAsTheWholeText) {
  TestEncoder encoder(Form::Json);
  EXPECT_EQ(PPS_OK, pps_encoder_add_bool(encoder, nullptr, true));
  EXPECT_EQ("true", encoder.text());
}

TEST(AttributeEncoder, WritesOneAttributeALine) {
  TestEncoder encoder(Form::Attributes);
  pps_encoder_start_object(encoder, nullptr);
  pps_encoder_add_string(encoder, "msg", "show");
  pps_encoder_add_string(encoder, "id", "321");
  pps_encoder_add_int(encoder, "count", 5);
  pps_encoder_add_bool(encoder, "kept", false);
  pps_encoder_start_object(encoder, "dat");
  pps_encoder_add_bool(encoder, "accepted", true);
  pps_encoder_add_string(encoder, "why", "asked");
  pps_encoder_end_object(encoder);
  pps_encoder_start_array(encoder, "list");
  pps_encoder_add_string(encoder, nullptr, "a");
  pps_encoder_add_string(encoder, nullptr, "b");
  pps_encoder_end_array(encoder);
  EXPECT_EQ(PPS_OK, pps_encoder_end_object(encoder));
  EXPECT_EQ(
      "msg::show\n"
      "id::321\n"
      "count:json:5\n"
      "kept:json:false\n"
      "dat:json:{\"accepted\":true,\"why\":\"asked\"}\n"
      "list:json:[\"a\",\"b\"]\n",
      encoder.text());
}

struct AttributeValue {
  const char* value;
  const char* line;
};

class AttributeStrings : public testing::TestWithParam<AttributeValue> {};

TEST_P(AttributeStrings, ArePlainUnlessAControlCharacterIsInThem) {
  TestEncoder encoder(Form::Attributes);
  pps_encoder_start_object(encoder, nullptr);
  pps_encoder_add_string(encoder, "n", GetParam().value);
  pps_encoder_end_object(encoder);
  EXPECT_EQ(GetParam().line, encoder.text());
}

INSTANTIATE_TEST_SUITE_P(Plain, AttributeStrings,
                         testing::Values(AttributeValue{"", "n::\n"},
                                         AttributeValue{":json:5", "n:::json:5\n"},
                                         AttributeValue{" \"\\ ", "n:: \"\\ \n"},
                                         AttributeValue{"\xff\xfe", "n::\xff\xfe\n"}));
INSTANTIATE_TEST_SUITE_P(Json, AttributeStrings,
                         testing::Values(AttributeValue{"a\nb", "n:json:\"a\\nb\"\n"},
                                         AttributeValue{"\"\x01", "n:json:\"\\\"\\u0001\"\n"},
                                         AttributeValue{"\t", "n:json:\"\\t\"\n"},
                                         AttributeValue{"\x7f", "n:json:\"\\u007f\"\n"}));

TEST(AttributeEncoder, WritesAnEmptyObjectAsTheEmptyText) {
  TestEncoder encoder(Form::Attributes);
  pps_encoder_start_object(encoder, nullptr);
  EXPECT_EQ(PPS_OK, pps_encoder_end_object(encoder));
  EXPECT_EQ("", encoder.text());
}

TEST(AttributeEncoder, RefusesAnArrayAsTheWholeText) {
  TestEncoder encoder(Form::Attributes);
  EXPECT_EQ(PPS_BAD_STATE, pps_encoder_start_array(encoder, nullptr));
}

TEST(AttributeEncoder, RefusesAScalarAsTheWholeText) {
  TestEncoder encoder(Form::Attributes);
  EXPECT_EQ(PPS_BAD_STATE, pps_encoder_add_int(encoder, nullptr, 1));
}

class AttributeNames : public testing::TestWithParam<const char*> {};

TEST_P(AttributeNames, ThatALineCannotCarryAreRefused) {
  TestEncoder encoder(Form::Attributes);
  pps_encoder_start_object(encoder, nullptr);
  EXPECT_EQ(PPS_BAD_NAME, pps_encoder_add_string(encoder, GetParam(), "value"));
}

TEST_P(AttributeNames, AreGoodEnoughInsideAnAttribute) {
  TestEncoder encoder(Form::Attributes);
  pps_encoder_start_object(encoder, nullptr);
  pps_encoder_start_object(encoder, "n");
  EXPECT_EQ(PPS_OK, pps_encoder_add_string(encoder, GetParam(), "value"));
}

INSTANTIATE_TEST_SUITE_P(All, AttributeNames, testing::Values("", "a:b", ":", "a\nb", "\x7f"));

TEST(Encoder, RefusesToEndAnObjectAsAnArray) {
  TestEncoder encoder(Form::Json);
  pps_encoder_start_object(encoder, nullptr);
  EXPECT_EQ(PPS_BAD_STATE, pps_encoder_end_array(encoder));
}

TEST(Encoder, RefusesToEndAnArrayAsAnObject) {
  TestEncoder encoder(Form::Json);
  pps_encoder_start_array(encoder, nullptr);
  EXPECT_EQ(PPS_BAD_STATE, pps_encoder_end_object(encoder));
}

TEST(Encoder, RefusesToEndWhatWasNotStarted) {
  TestEncoder encoder(Form::Json);
  EXPECT_EQ(PPS_BAD_STATE, pps_encoder_end_object(encoder));
}

TEST(Encoder, RefusesASecondTopLevelValue) {
  TestEncoder encoder(Form::Json);
  pps_encoder_start_object(encoder, nullptr);
  pps_encoder_end_object(encoder);
  EXPECT_EQ(PPS_BAD_STATE, pps_encoder_start_object(encoder, nullptr));
}

TEST(Encoder, RefusesAMemberWithoutAName) {
  TestEncoder encoder(Form::Json);
  pps_encoder_start_object(encoder, nullptr);
  EXPECT_EQ(PPS_BAD_NAME, pps_encoder_add_int(encoder, nullptr, 1));
}

TEST(Encoder, RefusesAnElementWithAName) {
  TestEncoder encoder(Form::Json);
  pps_encoder_start_array(encoder, nullptr);
  EXPECT_EQ(PPS_BAD_NAME, pps_encoder_add_int(encoder, "n", 1));
}

TEST(Encoder, RefusesATopLevelValueWithAName) {
  TestEncoder encoder(Form::Json);
  EXPECT_EQ(PPS_BAD_NAME, pps_encoder_start_object(encoder, "n"));
}

TEST(Encoder, RefusesASecondMemberOfTheSameName) {
  TestEncoder encoder(Form::Json);
  pps_encoder_start_object(encoder, nullptr);
  pps_encoder_add_int(encoder, "n", 1);
  EXPECT_EQ(PPS_DUPLICATE, pps_encoder_add_string(encoder, "n", ""));
}

TEST(Encoder, TakesTheSameNameInAnotherObject) {
  TestEncoder encoder(Form::Json);
  pps_encoder_start_object(encoder, nullptr);
  pps_encoder_start_object(encoder, "n");
  EXPECT_EQ(PPS_OK, pps_encoder_add_int(encoder, "n", 1));
}

TEST(Encoder, RefusesANullString) {
  TestEncoder encoder(Form::Json);
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_encoder_add_string(encoder, nullptr, nullptr));
}

TEST(Encoder, NestsAsDeepAsTheLimit) {
  TestEncoder encoder(Form::Json);
  for (int i = 0; i < PPS_MAX_DEPTH; ++i) pps_encoder_start_array(encoder, nullptr);
  for (int i = 0; i < PPS_MAX_DEPTH; ++i) pps_encoder_end_array(encoder);
  EXPECT_EQ(repeat("[", PPS_MAX_DEPTH) + repeat("]", PPS_MAX_DEPTH), encoder.text());
}

TEST(Encoder, RefusesToNestDeeperThanTheLimit) {
  TestEncoder encoder(Form::Json);
  for (int i = 0; i < PPS_MAX_DEPTH; ++i) pps_encoder_start_array(encoder, nullptr);
  EXPECT_EQ(PPS_TOO_DEEP, pps_encoder_start_array(encoder, nullptr));
}

TEST(Encoder, RepeatsItsFirstFailure) {
  TestEncoder encoder(Form::Json);
  pps_encoder_start_object(encoder, nullptr);
  pps_encoder_add_int(encoder, nullptr, 1);
  EXPECT_EQ(PPS_BAD_NAME, pps_encoder_add_int(encoder, "good", 1));
  EXPECT_EQ(PPS_BAD_NAME, pps_encoder_end_array(encoder));
  EXPECT_EQ(PPS_BAD_NAME, pps_encoder_end_object(encoder));
}

TEST(Encoder, HasNoTextAfterAFailure) {
  TestEncoder encoder(Form::Json);
  pps_encoder_start_object(encoder, nullptr);
  pps_encoder_end_object(encoder);
  pps_encoder_end_object(encoder);
  EXPECT_EQ(nullptr, pps_encoder_buffer(encoder));
  EXPECT_EQ(0, pps_encoder_length(encoder));
}

TEST(Encoder, HasNoTextBeforeAnythingIsWritten) {
  TestEncoder encoder(Form::Json);
  EXPECT_EQ(nullptr, pps_encoder_buffer(encoder));
  EXPECT_EQ(0, pps_encoder_length(encoder));
}

TEST(Encoder, HasNoTextWhileAnObjectIsOpen) {
  TestEncoder encoder(Form::Attributes);
  pps_encoder_start_object(encoder, nullptr);
  pps_encoder_add_int(encoder, "n", 1);
  EXPECT_EQ(nullptr, pps_encoder_buffer(encoder));
  EXPECT_EQ(0, pps_encoder_length(encoder));
}

TEST(Encoder, WritesATextOfTheGreatestLength) {
  TestEncoder encoder(Form::Json);
  const std::string value(PPS_MAX_LENGTH - 2, 'x');
  EXPECT_EQ(PPS_OK, pps_encoder_add_string(encoder, nullptr, value.c_str()));
  EXPECT_EQ(PPS_MAX_LENGTH, pps_encoder_length(encoder));
}

TEST(Encoder, RefusesATextPastTheGreatestLength) {
  TestEncoder encoder(Form::Json);
  const std::string value(PPS_MAX_LENGTH - 1, 'x');
  EXPECT_EQ(PPS_TOO_BIG, pps_encoder_add_string(encoder, nullptr, value.c_str()));
  EXPECT_EQ(nullptr, pps_encoder_buffer(encoder));
}

TEST(Encoder, CleanupZeroesTheState) {
  pps_encoder_t encoder;
  ASSERT_EQ(PPS_OK, pps_encoder_initialize(&encoder, true));
  pps_encoder_start_object(&encoder, nullptr);
  pps_encoder_cleanup(&encoder);
  EXPECT_EQ(nullptr, encoder.impl);
}

TEST(Encoder, CleanupOfAZeroedOrCleanedStateChangesNothing) {
  pps_encoder_t encoder = {};
  pps_encoder_cleanup(&encoder);
  pps_encoder_cleanup(&encoder);
  pps_encoder_cleanup(nullptr);
  EXPECT_EQ(nullptr, encoder.impl);
}

class UnreadyEncoder : public testing::TestWithParam<pps_encoder_t*> {};

TEST_P(UnreadyEncoder, IsABadArgumentEverywhere) {
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_encoder_start_object(GetParam(), nullptr));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_encoder_end_object(GetParam()));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_encoder_start_array(GetParam(), nullptr));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_encoder_end_array(GetParam()));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_encoder_add_string(GetParam(), nullptr, ""));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_encoder_add_int(GetParam(), nullptr, 1));
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_encoder_add_bool(GetParam(), nullptr, true));
}

TEST_P(UnreadyEncoder, HasNoText) {
  EXPECT_EQ(nullptr, pps_encoder_buffer(GetParam()));
  EXPECT_EQ(0, pps_encoder_length(GetParam()));
}

pps_encoder_t zeroedEncoder = {};
INSTANTIATE_TEST_SUITE_P(NullAndZeroed, UnreadyEncoder, testing::Values(nullptr, &zeroedEncoder));

TEST(Encoder, InitializeNeedsAState) {
  EXPECT_EQ(PPS_BAD_ARGUMENT, pps_encoder_initialize(nullptr, true));
}

}  // namespace
