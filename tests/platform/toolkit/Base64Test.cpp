#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/toolkit/toolkit.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes bytesOf(const std::string& text) {
  return Bytes(text.begin(), text.end());
}

// `count` bytes that go through all values.
Bytes someBytes(unsigned int count) {
  Bytes bytes(count);
  for (unsigned int i = 0; i < count; ++i) bytes[i] = static_cast<unsigned char>(255 - i * 37);
  return bytes;
}

std::string encode(const Bytes& data) {
  unsigned int length = 0;
  const auto size = static_cast<unsigned int>(data.size());
  EXPECT_EQ(TOOLKIT_OK, toolkit_base64_encode(data.data(), size, nullptr, &length));
  std::string text(length, '#');
  EXPECT_EQ(TOOLKIT_OK, toolkit_base64_encode(data.data(), size, text.data(), &length));
  EXPECT_EQ(text.size(), length);
  return text;
}

int decode(const std::string& text, Bytes& data) {
  data.assign(text.size() + 1, 0);
  auto length = static_cast<unsigned int>(data.size());
  const int result = toolkit_base64_decode(text.data(), static_cast<unsigned int>(text.size()),
                                           data.data(), &length);
  data.resize(result == TOOLKIT_OK ? length : 0);
  return result;
}

struct Pair {
  const char* plain;
  const char* encoded;
};

class Base64Vectors : public testing::TestWithParam<Pair> {};

TEST_P(Base64Vectors, AreEncoded) {
  EXPECT_EQ(GetParam().encoded, encode(bytesOf(GetParam().plain)));
}

TEST_P(Base64Vectors, AreDecoded) {
  Bytes data;
  EXPECT_EQ(TOOLKIT_OK, decode(GetParam().encoded, data));
  EXPECT_EQ(bytesOf(GetParam().plain), data);
}

INSTANTIATE_TEST_SUITE_P(
    Rfc4648, Base64Vectors,
    testing::Values(Pair{"", ""}, Pair{"f", "Zg=="}, Pair{"fo", "Zm8="}, Pair{"foo", "Zm9v"},
                    Pair{"foob", "Zm9vYg=="}, Pair{"fooba", "Zm9vYmE="}, Pair{"foobar", "Zm9vYmFy"},
                    Pair{"\x69\xb7\x1d\x79\xf8\x21\x8a\x39\x25\x9a", "abcdefghijklmg=="},
                    Pair{"\xfb\xff\xbf", "+/+/"}));

class Base64Lengths : public testing::TestWithParam<unsigned int> {};

TEST_P(Base64Lengths, SurviveARoundTrip) {
  const Bytes data = someBytes(GetParam());
  Bytes decoded;
  EXPECT_EQ(TOOLKIT_OK, decode(encode(data), decoded));
  EXPECT_EQ(data, decoded);
}

INSTANTIATE_TEST_SUITE_P(UpToAHundred, Base64Lengths, testing::Range(0U, 101U));

class Base64Refused : public testing::TestWithParam<std::string> {};

TEST_P(Base64Refused, IsNotDecoded) {
  Bytes data;
  EXPECT_EQ(TOOLKIT_BAD_BASE64, decode(GetParam(), data));
}

TEST_P(Base64Refused, HasNoSizeEither) {
  unsigned int length = 7;
  EXPECT_EQ(TOOLKIT_BAD_BASE64,
            toolkit_base64_decode(GetParam().data(), static_cast<unsigned int>(GetParam().size()),
                                  nullptr, &length));
  EXPECT_EQ(7U, length);
}

INSTANTIATE_TEST_SUITE_P(Length, Base64Refused,
                         testing::Values("Q", "QQ", "QQQ", "QUJDQ", "QUJDQQ", "="));
INSTANTIATE_TEST_SUITE_P(Padding, Base64Refused,
                         testing::Values("====", "Q===", "=QQQ", "Q=Q=", "QQ=Q",
                                         "QQ==QQ==", "QUI=QUJD", "QUJD===="));
INSTANTIATE_TEST_SUITE_P(StrayBits, Base64Refused, testing::Values("QR==", "QY==", "QUJ=", "QUK="));
INSTANTIATE_TEST_SUITE_P(Characters, Base64Refused,
                         testing::Values("QUJ\n", "QU\r\n", " QUJ", "QUJD\nQUJD", "QU-D", "QU_D",
                                         "QU.D", "QU@D", "QU[D", "QU`D", "QU{D", "QU:D", "QU,D",
                                         std::string("QU\0D", 4), "QU\xc1\xc4",
                                         "\xff\xff\xff\xff"));

TEST(Base64, LastCharactersWithoutStrayBitsAreDecoded) {
  Bytes data;
  EXPECT_EQ(TOOLKIT_OK, decode("QQ==", data));
  EXPECT_EQ(bytesOf("A"), data);
}

TEST(Base64, SizeOfADecodedTextIsExact) {
  unsigned int length = 0;
  EXPECT_EQ(TOOLKIT_OK, toolkit_base64_decode("Zm9vYmE=", 8, nullptr, &length));
  EXPECT_EQ(5U, length);
}

TEST(Base64, EncodingIntoASmallBufferWritesNothing) {
  char output[8] = {'#', '#', '#', '#', '#', '#', '#', '#'};
  unsigned int length = 7;
  EXPECT_EQ(TOOLKIT_BUFFER_TOO_SMALL,
            toolkit_base64_encode(bytesOf("fooba").data(), 5, output, &length));
  EXPECT_EQ(7U, length);
  EXPECT_EQ(8, std::count(output, output + 8, '#'));
}

TEST(Base64, DecodingIntoASmallBufferWritesNothing) {
  unsigned char output[5] = {7, 7, 7, 7, 7};
  unsigned int length = 4;
  EXPECT_EQ(TOOLKIT_BUFFER_TOO_SMALL, toolkit_base64_decode("Zm9vYmE=", 8, output, &length));
  EXPECT_EQ(4U, length);
  EXPECT_EQ(5, std::count(output, output + 5, 7));
}

TEST(Base64, EncodingWritesNoByteBehindTheResult) {
  char output[5] = {'#', '#', '#', '#', '#'};
  unsigned int length = 5;
  EXPECT_EQ(TOOLKIT_OK, toolkit_base64_encode(bytesOf("f").data(), 1, output, &length));
  EXPECT_EQ(4U, length);
  EXPECT_EQ('#', output[4]);
}

TEST(Base64, DecodingWritesNoByteBehindTheResult) {
  unsigned char output[3] = {7, 7, 7};
  unsigned int length = 3;
  EXPECT_EQ(TOOLKIT_OK, toolkit_base64_decode("Zg==", 4, output, &length));
  EXPECT_EQ(1U, length);
  EXPECT_EQ(7, output[1]);
  EXPECT_EQ(7, output[2]);
}

TEST(Base64, AnEmptyTextFitsABufferOfNoBytes) {
  unsigned char output = 7;
  unsigned int length = 0;
  EXPECT_EQ(TOOLKIT_OK, toolkit_base64_decode("", 0, &output, &length));
  EXPECT_EQ(0U, length);
  EXPECT_EQ(7, output);
}

// The greatest input whose text has a length that an unsigned int holds.
constexpr unsigned int greatestInput = std::numeric_limits<unsigned int>::max() / 4 * 3;

TEST(Base64, GreatestTextHasASize) {
  const unsigned char data = 0;
  unsigned int length = 0;
  EXPECT_EQ(TOOLKIT_OK, toolkit_base64_encode(&data, greatestInput, nullptr, &length));
  EXPECT_EQ(std::numeric_limits<unsigned int>::max() - 3, length);
}

TEST(Base64, TextPastTheGreatestIsTooBig) {
  const unsigned char data = 0;
  unsigned int length = 7;
  EXPECT_EQ(TOOLKIT_TOO_BIG, toolkit_base64_encode(&data, greatestInput + 1, nullptr, &length));
  EXPECT_EQ(7U, length);
}

TEST(Base64, TextPastTheGreatestIsTooBigForABufferToo) {
  const unsigned char data = 0;
  char output = '#';
  unsigned int length = 1;
  EXPECT_EQ(TOOLKIT_TOO_BIG, toolkit_base64_encode(&data, std::numeric_limits<unsigned int>::max(),
                                                   &output, &length));
  EXPECT_EQ('#', output);
}

TEST(Base64, EncodingNeedsALength) {
  const unsigned char data = 0;
  EXPECT_EQ(TOOLKIT_BAD_ARGUMENT, toolkit_base64_encode(&data, 1, nullptr, nullptr));
}

TEST(Base64, EncodingNeedsData) {
  unsigned int length = 7;
  EXPECT_EQ(TOOLKIT_BAD_ARGUMENT, toolkit_base64_encode(nullptr, 1, nullptr, &length));
}

TEST(Base64, DecodingNeedsALength) {
  EXPECT_EQ(TOOLKIT_BAD_ARGUMENT, toolkit_base64_decode("Zg==", 4, nullptr, nullptr));
}

TEST(Base64, DecodingNeedsAText) {
  unsigned int length = 7;
  EXPECT_EQ(TOOLKIT_BAD_ARGUMENT, toolkit_base64_decode(nullptr, 4, nullptr, &length));
}

}  // namespace
