#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/DistinguishedName.h"
#include "services/certmgr/path/PublicKey.h"

// What others read in more than one way, or not at all, is refused.

namespace {

using namespace std::string_view_literals;

std::string element(char tag, const std::string& content) {
  return std::string{tag, static_cast<char>(content.size())} + content;
}

// A name with one common name of that kind of string.
DistinguishedName named(char tag, const std::string& text) {
  const std::string attribute = element(0x06, "\x55\x04\x03") + element(tag, text);
  return DistinguishedName(element(0x30, element(0x31, element(0x30, attribute))));
}

std::string keyInfo(const std::string& algorithm, const std::string& key) {
  return element(0x30, element(0x30, algorithm) + element(0x03, '\0' + key));
}

constexpr char kUtf8 = 0x0c;
constexpr char kPrintable = 0x13;

const std::string kEd25519 = element(0x06, "\x2b\x65\x70");
const std::string kRsa = element(0x06, "\x2a\x86\x48\x86\xf7\x0d\x01\x01\x01");
const std::string kNull = element(0x05, "");

std::string rsaNumbers() {
  return element(0x30, element(0x02, std::string("\x00\xff", 2)) + element(0x02, "\x03"));
}

class OidReading : public testing::TestWithParam<std::string_view> {};

TEST_P(OidReading, RefusesWhatIsNone) {
  DerReader reader(GetParam());
  EXPECT_THROW(reader.take(), DerError);
}

INSTANTIATE_TEST_SUITE_P(StrictReading, OidReading,
                         testing::Values("\x06\x00"sv,          // empty
                                         "\x06\x02\x55\x84"sv,  // without an end
                                         "\x06\x02\x80\x55"sv,  // superfluous first byte
                                         "\x06\x03\x55\x80\x01"sv));

TEST(StrictReading, OidOfOneByteIsRead) {
  EXPECT_EQ("\x55"sv, DerReader("\x06\x01\x55"sv).take().content);
}

class BitStringReading : public testing::TestWithParam<std::string_view> {};

TEST_P(BitStringReading, RefusesWhatIsNone) {
  EXPECT_THROW(derBits(GetParam()), DerError);
}

INSTANTIATE_TEST_SUITE_P(StrictReading, BitStringReading,
                         testing::Values(""sv,            // without its first byte
                                         "\x01"sv,        // a bit left over of none
                                         "\x08\x00"sv,    // more than a byte left over
                                         "\x03\x04"sv));  // what is left over is not zero

TEST(StrictReading, BitsThatFillTheirBytesAreRead) {
  EXPECT_EQ("\x80\x01"sv, derBits("\x00\x80\x01"sv));
}

TEST(StrictReading, BitsWithZerosLeftOverAreRead) {
  EXPECT_EQ("\x08"sv, derBits("\x03\x08"sv));
}

TEST(StrictReading, EdwardsKeyWithoutParametersIsKnown) {
  EXPECT_EQ(PublicKey::Kind::ed25519, PublicKey(keyInfo(kEd25519, std::string(32, 'k'))).kind());
}

TEST(StrictReading, EdwardsKeyWithParametersIsUnknown) {
  EXPECT_EQ(PublicKey::Kind::other,
            PublicKey(keyInfo(kEd25519 + kNull, std::string(32, 'k'))).kind());
}

TEST(StrictReading, CurveWithFurtherParametersIsUnknown) {
  const std::string type = element(0x06, "\x2a\x86\x48\xce\x3d\x02\x01");
  const std::string curve = element(0x06, "\x2a\x86\x48\xce\x3d\x03\x01\x07");
  EXPECT_EQ(PublicKey::Kind::other, PublicKey(keyInfo(type + curve + kNull, "\x04")).kind());
}

TEST(StrictReading, RsaKeyWithNullForParametersIsKnown) {
  EXPECT_EQ(PublicKey::Kind::rsa, PublicKey(keyInfo(kRsa + kNull, rsaNumbers())).kind());
}

TEST(StrictReading, RsaKeyWithoutParametersIsKnown) {
  EXPECT_EQ(PublicKey::Kind::rsa, PublicKey(keyInfo(kRsa, rsaNumbers())).kind());
}

TEST(StrictReading, RsaKeyWithNullThatHoldsSomethingIsUnknown) {
  const std::string fullNull = element(0x05, "x");
  EXPECT_EQ(PublicKey::Kind::other, PublicKey(keyInfo(kRsa + fullNull, rsaNumbers())).kind());
}

TEST(StrictReading, RsaKeyWithOtherParametersIsUnknown) {
  EXPECT_EQ(PublicKey::Kind::other, PublicKey(keyInfo(kRsa + kRsa, rsaNumbers())).kind());
}

TEST(StrictReading, RsaKeyWithMoreThanItsParametersIsUnknown) {
  EXPECT_EQ(PublicKey::Kind::other, PublicKey(keyInfo(kRsa + kNull + kNull, rsaNumbers())).kind());
}

TEST(StrictReading, BytesBeyondAsciiInAsciiStringsAreLatin1) {
  EXPECT_TRUE(named(kPrintable, "M\xfc") == named(kUtf8, "M\xc3\xbc"));
  EXPECT_FALSE(named(kPrintable, "M\xc3\xbc") == named(kUtf8, "M\xc3\xbc"));
}

TEST(StrictReading, NameWithoutPartsHasATextForPeople) {
  EXPECT_EQ("(empty name)", DistinguishedName(element(0x30, "")).text());
}

}  // namespace
