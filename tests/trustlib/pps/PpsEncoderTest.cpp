#include "trustlib/pps/PpsEncoder.h"

#include <limits>
#include <locale>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/Throws.h"

namespace {

class Encoder : public testing::Test {
 protected:
  Encoder() {
    encoder.initialize(true);
    encoder.startObject(nullptr);
  }

  std::string finished() {
    encoder.endObject();
    return std::string(encoder.buffer(), static_cast<std::size_t>(encoder.length()));
  }

  PpsEncoder encoder;
};

TEST_F(Encoder, MembersKeepTheirOrder) {
  encoder.addInt("version", 1);
  encoder.addString("domain", "host.test", true);
  encoder.startArray("chain");
  encoder.startObject(nullptr);
  encoder.addString("der", "AA==", true);
  encoder.endObject();
  encoder.endArray();
  EXPECT_EQ(R"({"version":1,"domain":"host.test","chain":[{"der":"AA=="}]})", finished());
}

TEST_F(Encoder, AbsentOptionalStringAddsNothing) {
  encoder.addString("domain", static_cast<const char*>(nullptr), false);
  encoder.addString("domain", static_cast<const std::string*>(nullptr), false);
  EXPECT_EQ("{}", finished());
}

TEST_F(Encoder, AbsentRequiredStringThrows) {
  EXPECT_THROWS(encoder.addString("der", static_cast<const char*>(nullptr), true),
                TrustManagerException, "PpsEncoder::addString - NULL value");
  EXPECT_THROWS(encoder.addString("der", static_cast<const std::string*>(nullptr), true),
                TrustManagerException, "PpsEncoder::addString - NULL value");
}

TEST_F(Encoder, StringObjectIsAddedAsItsText) {
  const std::string text("a\"b");
  encoder.addString("s", &text, true);
  EXPECT_EQ(R"({"s":"a\"b"})", finished());
}

TEST_F(Encoder, LongLongTravelsAsItsDecimalDigits) {
  encoder.addLongLong("zero", 0);
  encoder.addLongLong("negative", -1);
  encoder.addLongLong("largest", std::numeric_limits<long long>::max());
  encoder.addLongLong("smallest", std::numeric_limits<long long>::min());
  EXPECT_EQ(
      R"({"zero":"0","negative":"-1","largest":"9223372036854775807","smallest":"-9223372036854775808"})",
      finished());
}

TEST_F(Encoder, ApplicationsLocaleDoesNotGroupDigits) {
  class Grouping : public std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale previous = std::locale::global(std::locale(std::locale(), new Grouping));
  encoder.addLongLong("n", 1234567);
  std::locale::global(previous);
  EXPECT_EQ(R"({"n":"1234567"})", finished());
}

TEST_F(Encoder, UnfinishedTextIsReportedByPointer) {
  EXPECT_THROWS_POINTER(encoder.buffer(), "PpsEncoder::buffer - not available");
}

TEST_F(Encoder, CodesOfTheCodecStandInTheMessages) {
  EXPECT_THROWS(encoder.endArray(), TrustManagerException, "PpsEncoder::endArray - error = 10");
  EXPECT_THROWS(encoder.endObject(), TrustManagerException, "PpsEncoder::endObject - error = 10");
  EXPECT_THROWS(encoder.startObject("a"), TrustManagerException,
                "PpsEncoder::startObject - error = 10");
  EXPECT_THROWS(encoder.startArray("a"), TrustManagerException,
                "PpsEncoder::startArray - error = 10");
  EXPECT_THROWS(encoder.addInt("a", 1), TrustManagerException, "PpsEncoder::addInt - error = 10");
  EXPECT_THROWS(encoder.addString("a", "b", true), TrustManagerException,
                "PpsEncoder::addString - error = 10");
}

TEST(PpsEncoder, AttributeTextHasOneLineAnAttribute) {
  PpsEncoder encoder;
  encoder.initialize(false);
  encoder.startObject(nullptr);
  encoder.addString("msg", "show", true);
  encoder.startObject("dat");
  encoder.addInt("n", 3);
  encoder.endObject();
  encoder.endObject();
  EXPECT_STREQ("msg::show\ndat:json:{\"n\":3}\n", encoder.buffer());
}

TEST(PpsEncoder, DestroyingOneThatWasNeverInitialisedIsFine) {
  const PpsEncoder encoder;
}

TEST(PpsEncoder, InitialisingAgainStartsANewText) {
  PpsEncoder encoder;
  encoder.initialize(true);
  encoder.startObject(nullptr);
  encoder.initialize(true);
  encoder.startObject(nullptr);
  encoder.endObject();
  EXPECT_STREQ("{}", encoder.buffer());
}

}  // namespace
