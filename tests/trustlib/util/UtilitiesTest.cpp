#include "trustlib/util/Utilities.h"

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace {

bool format(std::string* out, const char* text, ...) {
  va_list arguments;
  va_start(arguments, text);
  const bool result = Utilities::vaStringPrintf(text, arguments, out);
  va_end(arguments);
  return result;
}

unsigned char* bytes(const char* text) {
  return reinterpret_cast<unsigned char*>(const_cast<char*>(text));
}

TEST(VaStringPrintf, TerminatingNulBecomesPartOfTheString) {
  std::string text;
  EXPECT_TRUE(format(&text, "%d", 42));
  EXPECT_EQ(std::string("42\0", 3), text);
}

TEST(VaStringPrintf, TextIsAppended) {
  std::string text("old");
  format(&text, "%s", "new");
  EXPECT_STREQ("oldnew", text.c_str());
}

TEST(VaStringPrintf, ArgumentsSurviveTheSecondPass) {
  const std::string filler(1500, 'x');
  std::string text;
  EXPECT_TRUE(format(&text, "%s %d %s", filler.c_str(), 7, "end"));
  EXPECT_EQ(filler + " 7 end", text.c_str());
  EXPECT_EQ(filler.length() + 7, text.length());
}

TEST(VaStringPrintf, FormatThatCannotBeFormattedAppendsNothing) {
  std::string text("old");
  EXPECT_TRUE(format(&text, "%ls", L"\xD800"));  // no character of the C locale
  EXPECT_EQ("old", text);
}

TEST(BinaryToHex, BytesBecomePairsOfLowerCaseDigits) {
  unsigned char data[] = {0x00, 0xAB};
  std::string text("x");
  Utilities::binaryToHex(data, sizeof(data), &text);
  EXPECT_EQ("x00ab", text);
}

TEST(BinaryToHex, NullDoesNothing) {
  unsigned char data[] = {0x00};
  std::string text("x");
  Utilities::binaryToHex(nullptr, 3, &text);
  Utilities::binaryToHex(data, 1, nullptr);
  EXPECT_EQ("x", text);
}

TEST(CompareLists, SameStringsInTheSameOrderAreEqual) {
  const std::list<std::string> first = {"a", "b"};
  const std::list<std::string> second = {"a", "b"};
  EXPECT_TRUE(Utilities::compareLists(&first, &second));
}

TEST(CompareLists, OrderCaseAndSizeMatter) {
  const std::list<std::string> list = {"a", "b"};
  const std::list<std::string> reversed = {"b", "a"};
  const std::list<std::string> upper = {"a", "B"};
  const std::list<std::string> shorter = {"a"};
  EXPECT_FALSE(Utilities::compareLists(&list, &reversed));
  EXPECT_FALSE(Utilities::compareLists(&list, &upper));
  EXPECT_FALSE(Utilities::compareLists(&list, &shorter));
}

TEST(CompareLists, NullEqualsNullAlone) {
  const std::list<std::string> empty;
  EXPECT_TRUE(Utilities::compareLists(nullptr, nullptr));
  EXPECT_FALSE(Utilities::compareLists(nullptr, &empty));
  EXPECT_FALSE(Utilities::compareLists(&empty, nullptr));
}

TEST(Base64, EncodeReplacesTheText) {
  std::string text("stale");
  EXPECT_EQ(0, Utilities::base64Encode(bytes("foob"), 4, &text));
  EXPECT_EQ("Zm9vYg==", text);
}

TEST(Base64, EncodeOfNothingLeavesTheTextAndReturnsACode) {
  std::string text("kept");
  EXPECT_NE(0, Utilities::base64Encode(nullptr, 4, &text));
  EXPECT_NE(0, Utilities::base64Encode(bytes("x"), 0, &text));
  EXPECT_NE(0, Utilities::base64Encode(bytes("x"), 1, nullptr));
  EXPECT_EQ("kept", text);
}

TEST(Base64, DecodeHandsOutABufferToFree) {
  std::string text("Zm9vYg==");
  unsigned char* data = nullptr;
  unsigned int length = 0;
  ASSERT_EQ(0, Utilities::base64Decode(&text, &data, &length));
  EXPECT_EQ("foob", std::string(reinterpret_cast<char*>(data), length));
  free(data);
}

TEST(Base64, DecodeOfWhatIsNoBase64LeavesTheOutputsAndReturnsACode) {
  for (const char* broken : {"", "Zg", "Zg=", "Z===", "Zg==\n", "Zh==", "Zm9v!A==", "Zm9 vYg=="}) {
    std::string text(broken);
    unsigned char* data = nullptr;
    unsigned int length = 77;
    EXPECT_NE(0, Utilities::base64Decode(&text, &data, &length)) << broken;
    EXPECT_EQ(nullptr, data) << broken;
    EXPECT_EQ(77U, length) << broken;
  }
}

TEST(Base64, DecodeTakesTheWholeTextNulsIncluded) {
  std::string text("Zm9v\0Yg=", 8);
  unsigned char* data = nullptr;
  unsigned int length = 0;
  EXPECT_NE(0, Utilities::base64Decode(&text, &data, &length));
}

TEST(Base64, DecodeOfNullDoesNothing) {
  std::string text("Zm9v");
  unsigned char* data = nullptr;
  unsigned int length = 0;
  EXPECT_NE(0, Utilities::base64Decode(nullptr, &data, &length));
  EXPECT_NE(0, Utilities::base64Decode(&text, nullptr, &length));
  EXPECT_NE(0, Utilities::base64Decode(&text, &data, nullptr));
  EXPECT_EQ(nullptr, data);
}

TEST(PlainFunctions, StrLenOfNullIsZero) {
  EXPECT_EQ(0U, tp_StrLen(nullptr));
  EXPECT_EQ(0U, tp_StrLen(""));
  EXPECT_EQ(3U, tp_StrLen("abc"));
}

TEST(PlainFunctions, EncodeWithoutDataReturnsItsCodeBeforeLookingAtTheLengthPointer) {
  EXPECT_EQ(57625, tp_B64Encode(nullptr, 3, nullptr, nullptr));
  EXPECT_EQ(57625, tp_B64Encode(bytes("x"), 0, nullptr, nullptr));
}

TEST(PlainFunctions, EncodeWithoutALengthPointerReturnsItsCode) {
  EXPECT_EQ(57631, tp_B64Encode(bytes("x"), 1, nullptr, nullptr));
}

TEST(PlainFunctions, DecodeWithoutTextReturnsItsCodeBeforeLookingAtTheLengthPointer) {
  EXPECT_EQ(57625, tp_B64Decode(nullptr, 0, nullptr, nullptr));
  EXPECT_EQ(57625, tp_B64Decode(nullptr, 4, nullptr, nullptr));
  EXPECT_EQ(57625, tp_B64Decode("", 0, nullptr, nullptr));
}

TEST(PlainFunctions, DecodeWithoutALengthPointerReturnsItsCode) {
  EXPECT_EQ(57633, tp_B64Decode("Zg==", 4, nullptr, nullptr));
}

TEST(PlainFunctions, NullOutputAsksForTheLength) {
  unsigned int length = 0;
  EXPECT_EQ(0, tp_B64Encode(bytes("foob"), 4, nullptr, &length));
  EXPECT_EQ(8U, length);
  EXPECT_EQ(0, tp_B64Decode("Zm9vYg==", 8, nullptr, &length));
  EXPECT_EQ(4U, length);
}

TEST(PlainFunctions, DecodeOfLengthZeroTakesTheTextToItsNul) {
  unsigned char out[4];
  unsigned int length = sizeof(out);
  EXPECT_EQ(0, tp_B64Decode("Zm9vYg==", 0, out, &length));
  EXPECT_EQ(0, memcmp("foob", out, 4));
}

TEST(PlainFunctions, TooSmallABufferIsRefusedAndNothingWrittenPastIt) {
  char encoded[9];
  memset(encoded, '#', sizeof(encoded));
  unsigned int length = 7;
  EXPECT_NE(0, tp_B64Encode(bytes("foob"), 4, encoded, &length));
  EXPECT_EQ(7U, length);
  EXPECT_EQ("##", std::string(encoded + 7, 2));

  unsigned char decoded[4] = {'#', '#', '#', '#'};
  length = 3;
  EXPECT_NE(0, tp_B64Decode("Zm9vYg==", 8, decoded, &length));
  EXPECT_EQ(3U, length);
  EXPECT_EQ('#', decoded[3]);
}

}  // namespace
