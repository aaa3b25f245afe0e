#include "trustlib/pps/PpsDecoder.h"

#include <list>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/Throws.h"

namespace {

// A decoder inside the top-level object of a JSON text.
class Decoder : public testing::Test {
 protected:
  void enter(const std::string& json) {
    text = json;
    decoder.initialize(nullptr);
    decoder.parseJson(text.data(), static_cast<int>(text.length()));
    decoder.push(nullptr, true);
  }

  std::string text;
  PpsDecoder decoder;
};

TEST_F(Decoder, MembersAreReadInAnyOrder) {
  enter(R"({"b":true,"i":-7,"s":"text"})");
  std::string s;
  int i = 0;
  bool b = false;
  EXPECT_TRUE(decoder.getString("s", &s, true));
  EXPECT_TRUE(decoder.getInt("i", &i, true));
  EXPECT_TRUE(decoder.getBool("b", &b, true));
  EXPECT_EQ("text", s);
  EXPECT_EQ(-7, i);
  EXPECT_TRUE(b);
}

TEST_F(Decoder, AbsentOptionalMemberIsReportedByFalse) {
  enter("{}");
  bool b = true;
  int i = 5;
  const char* text = "stale";
  std::string s("kept");
  long long n = 5;
  std::list<std::string> list = {"kept"};
  EXPECT_FALSE(decoder.getBool("x", &b, false));
  EXPECT_FALSE(decoder.getInt("x", &i, false));
  EXPECT_FALSE(decoder.getString("x", &text, false));
  EXPECT_FALSE(decoder.getString("x", &s, false));
  EXPECT_FALSE(decoder.getLongLong("x", &n, false));
  EXPECT_FALSE(decoder.getStringArray("x", &list, false));
  EXPECT_FALSE(decoder.push("x", false));
  EXPECT_EQ(nullptr, text) << "an absent text leaves NULL";
  EXPECT_EQ("kept", s);
  EXPECT_EQ((std::list<std::string>{"kept"}), list);
}

TEST_F(Decoder, AbsentRequiredMemberThrowsWithOperationNameAndCode) {
  enter("{}");
  bool b;
  int i;
  std::string s;
  EXPECT_THROWS(decoder.getBool("x", &b, true), TrustManagerException,
                "PpsDecoder: Failed to perform get bool on x, error = 3");
  EXPECT_THROWS(decoder.getInt("x", &i, true), TrustManagerException,
                "PpsDecoder: Failed to perform get int on x, error = 3");
  EXPECT_THROWS(decoder.getString("x", &s, true), TrustManagerException,
                "PpsDecoder: Failed to perform get string on x, error = 3");
  EXPECT_THROWS(decoder.push("x", true), TrustManagerException,
                "PpsDecoder: Failed to perform push on x, error = 3");
}

TEST_F(Decoder, MemberOfAnotherKindThrowsEvenWhenOptional) {
  enter(R"({"n":4,"s":"4"})");
  std::string s;
  int i;
  bool b;
  EXPECT_THROWS(decoder.getString("n", &s, false), TrustManagerException,
                "PpsDecoder: Failed to perform get string on n, error = 4");
  EXPECT_THROWS(decoder.getInt("s", &i, false), TrustManagerException,
                "PpsDecoder: Failed to perform get int on s, error = 4");
  EXPECT_THROWS(decoder.getBool("s", &b, false), TrustManagerException,
                "PpsDecoder: Failed to perform get bool on s, error = 4");
  EXPECT_THROWS(decoder.push("s", false), TrustManagerException,
                "PpsDecoder: Failed to perform push on s, error = 4");
}

TEST_F(Decoder, LongLongThatIsAJsonNumberIsReportedByTheStringRead) {
  enter(R"({"warnings":4})");
  long long n = 0;
  EXPECT_THROWS(decoder.getLongLong("warnings", &n, true), TrustManagerException,
                "PpsDecoder: Failed to perform get string on warnings, error = 4");
}

TEST_F(Decoder, LongLongIsReadFromItsDigits) {
  enter(R"({"a":"-1","b":"9223372036854775807","c":"-9223372036854775808"})");
  long long a = 0;
  long long b = 0;
  long long c = 0;
  EXPECT_TRUE(decoder.getLongLong("a", &a, true));
  EXPECT_TRUE(decoder.getLongLong("b", &b, true));
  EXPECT_TRUE(decoder.getLongLong("c", &c, true));
  EXPECT_EQ(-1, a);
  EXPECT_EQ(9223372036854775807LL, b);
  EXPECT_EQ(-9223372036854775807LL - 1, c);
}

TEST_F(Decoder, TextThatIsNoNumberStillCountsAsRead) {
  enter(R"({"a":"many"})");
  long long a = 7;
  EXPECT_TRUE(decoder.getLongLong("a", &a, true));
  EXPECT_EQ(0, a) << "the standard extraction stores 0 when it fails";
}

TEST_F(Decoder, NullOutputIsRefusedWithOneTextForFourOperations) {
  enter("{}");
  const char* const message = "PpsDecoder::getBool - value is NULL";
  EXPECT_THROWS(decoder.getBool("x", nullptr, false), TrustManagerException, message);
  EXPECT_THROWS(decoder.getInt("x", nullptr, false), TrustManagerException, message);
  EXPECT_THROWS(decoder.getString("x", static_cast<const char**>(nullptr), false),
                TrustManagerException, message);
  EXPECT_THROWS(decoder.getLongLong("x", nullptr, false), TrustManagerException, message);
}

TEST_F(Decoder, StringIsAppendedToTheOutput) {
  enter(R"({"s":"new"})");
  std::string s("old ");
  decoder.getString("s", &s, true);
  EXPECT_EQ("old new", s);
}

TEST_F(Decoder, StringArrayReplacesTheListInOrder) {
  enter(R"({"names":["a","b","c"]})");
  std::list<std::string> names = {"stale"};
  EXPECT_TRUE(decoder.getStringArray("names", &names, true));
  EXPECT_EQ((std::list<std::string>{"a", "b", "c"}), names);
}

TEST_F(Decoder, ElementsThatAreNoStringsAreSkipped) {
  enter(R"({"names":["a",1,null,{"x":"y"},["z"],"b"]})");
  std::list<std::string> names;
  decoder.getStringArray("names", &names, true);
  EXPECT_EQ((std::list<std::string>{"a", "b"}), names);
}

TEST_F(Decoder, EmptyStringArrayEmptiesTheList) {
  enter(R"({"names":[]})");
  std::list<std::string> names = {"stale"};
  EXPECT_TRUE(decoder.getStringArray("names", &names, true));
  EXPECT_TRUE(names.empty());
}

TEST_F(Decoder, ObjectIsNoStringArray) {
  enter(R"({"full":{"k":"v"},"empty":{}})");
  std::list<std::string> names = {"kept"};
  EXPECT_THROWS(decoder.getStringArray("full", &names, true), TrustManagerException,
                "PpsDecoder: Failed to perform push on full, error = 4");
  enter(R"({"full":{"k":"v"},"empty":{}})");
  EXPECT_THROWS(decoder.getStringArray("empty", &names, false), TrustManagerException,
                "PpsDecoder: Failed to perform push on empty, error = 4");
  EXPECT_EQ((std::list<std::string>{"kept"}), names);
}

TEST_F(Decoder, NegativeLengthIsLikeNoInput) {
  char json[] = "{}";
  decoder.initialize(nullptr);
  EXPECT_THROWS_POINTER(decoder.parseJson(json, -1), "PpsDecoder::parseJsonStr - NULL input");
}

TEST_F(Decoder, NullStringArrayOutputIsRefused) {
  enter(R"({"names":[]})");
  EXPECT_THROWS(decoder.getStringArray("names", nullptr, true), TrustManagerException,
                "PpsDecoder::getStringArray - output strings is NULL");
}

TEST_F(Decoder, DecodingGoesOnBehindAStringArray) {
  enter(R"({"names":["a"],"after":"here"})");
  std::list<std::string> names;
  decoder.getStringArray("names", &names, true);
  std::string after;
  decoder.getString("after", &after, true);
  EXPECT_EQ("here", after);
}

TEST_F(Decoder, ArrayOfObjectsIsWalkedByPushAndPop) {
  enter(R"({"chain":[{"der":"1"},{"der":"2"}]})");
  decoder.push("chain", true);
  ASSERT_EQ(2, decoder.length());
  std::string ders;
  for (int i = 0; i < 2; ++i) {
    decoder.push(nullptr, true);
    decoder.getString("der", &ders, true);
    decoder.pop();
  }
  EXPECT_EQ("12", ders);
}

TEST_F(Decoder, PopOutsideAnythingThrowsWithItsOneColon) {
  decoder.initialize(nullptr);
  EXPECT_THROWS(decoder.pop(), TrustManagerException, "PpsDecoder:pop - error = 10");
}

TEST_F(Decoder, TextThatIsNotJsonIsRefused) {
  EXPECT_THROWS(enter("nonsense"), TrustManagerException, "PpsDecoder::parseJsonStr - error = 6");
}

TEST_F(Decoder, TextThatIsNoAttributeTextIsRefused) {
  char broken[] = "no colons here";
  decoder.initialize(nullptr);
  EXPECT_THROWS(decoder.parsePpsStr(broken), TrustManagerException,
                "PpsDecoder::parsePpsStr - error = 6");
}

TEST_F(Decoder, NullInputIsReportedByPointer) {
  decoder.initialize(nullptr);
  EXPECT_THROWS_POINTER(decoder.parseJson(nullptr, 0), "PpsDecoder::parseJson - NULL input");
  EXPECT_THROWS_POINTER(decoder.parseJsonStr(nullptr), "PpsDecoder::parseJsonStr - NULL input");
  EXPECT_THROWS_POINTER(decoder.parsePpsStr(nullptr), "PpsDecoder::parsePpsStr - NULL input");
}

TEST_F(Decoder, ParsedBytesNeedNoTerminator) {
  char json[] = {'{', '}', 'x'};
  decoder.initialize(nullptr);
  EXPECT_NO_THROW(decoder.parseJson(json, 2));
}

TEST_F(Decoder, ParsingAgainReleasesTheFirstCopy) {
  enter(R"({"a":"first"})");
  text = R"({"a":"second"})";
  decoder.parseJson(text.data(), static_cast<int>(text.length()));
  decoder.push(nullptr, true);
  std::string a;
  decoder.getString("a", &a, true);
  EXPECT_EQ("second", a);
}

TEST_F(Decoder, AttributeTextIsReadLikeAnObject) {
  char attributes[] = "res::show\nid::321\ndat:json:{\"accepted\":true}\n";
  decoder.initialize(nullptr);
  decoder.parsePpsStr(attributes);
  decoder.push(nullptr, true);
  std::string id;
  bool accepted = false;
  decoder.getString("id", &id, true);
  decoder.push("dat", true);
  decoder.getBool("accepted", &accepted, true);
  EXPECT_EQ("321", id);
  EXPECT_TRUE(accepted);
}

TEST_F(Decoder, InitialisingWithATextParsesIt) {
  char attributes[] = "id::321";
  decoder.initialize(attributes);
  decoder.push(nullptr, true);
  std::string id;
  decoder.getString("id", &id, true);
  EXPECT_EQ("321", id);
}

TEST_F(Decoder, InitialisingWithABrokenTextThrows) {
  char broken[] = "x";
  EXPECT_THROWS(decoder.initialize(broken), TrustManagerException,
                "PpsDecoder::initialize - error = 6");
}

}  // namespace
