#include "trustlib/util/StringUtilities.h"

#include <limits>
#include <list>
#include <string>

#include <gtest/gtest.h>

namespace {

using Tokens = std::list<std::string>;

std::string lowered(std::string text) {
  StringUtilities::tolower(text);
  return text;
}

Tokens tokens(const std::string& text, const std::string& delimiters) {
  Tokens result = {"stale"};
  StringUtilities::tokenize(&text, delimiters, result);
  return result;
}

TEST(StringUtilities, ToLowerChangesTheAsciiLettersOnly) {
  EXPECT_EQ("@az[`{ \xC3\x84\xFF", lowered("@AZ[`{ \xC3\x84\xFF"));
}

TEST(StringUtilities, TrimRemovesAllSixWhiteSpaceBytes) {
  std::string text(" \t\n\v\f\ra b\r\f\v\n\t ");
  StringUtilities::trim(text);
  EXPECT_EQ("a b", text);
}

TEST(StringUtilities, TrimKeepsOtherBytesThatLookEmpty) {
  std::string text("\xA0\x01 ");
  StringUtilities::trim(text);
  EXPECT_EQ("\xA0\x01", text);
}

TEST(StringUtilities, TrimLeftAndRightWorkOnTheirSideOnly) {
  std::string left("  a ");
  std::string right(" a  ");
  StringUtilities::trimLeft(left);
  StringUtilities::trimRight(right);
  EXPECT_EQ("a ", left);
  EXPECT_EQ(" a", right);
}

TEST(StringUtilities, TrimOfNothingButWhiteSpaceLeavesNothing) {
  std::string text(" \t ");
  StringUtilities::trim(text);
  EXPECT_EQ("", text);
}

TEST(StringUtilities, EveryTextStartsWithTheEmptyPrefix) {
  EXPECT_TRUE(StringUtilities::startsWith("", ""));
  EXPECT_TRUE(StringUtilities::startsWith("a", ""));
}

TEST(StringUtilities, StartsWithComparesBytes) {
  EXPECT_TRUE(StringUtilities::startsWith("DNS:a", "DNS:"));
  EXPECT_TRUE(StringUtilities::startsWith("DNS:", "DNS:"));
  EXPECT_FALSE(StringUtilities::startsWith("dns:a", "DNS:"));
  EXPECT_FALSE(StringUtilities::startsWith("DN", "DNS:"));
}

TEST(StringUtilities, NoTextEndsWithTheEmptySuffix) {
  EXPECT_FALSE(StringUtilities::endsWith("", ""));
  EXPECT_FALSE(StringUtilities::endsWith("a", ""));
}

TEST(StringUtilities, EndsWithComparesBytes) {
  EXPECT_TRUE(StringUtilities::endsWith("a.json", ".json"));
  EXPECT_TRUE(StringUtilities::endsWith(".json", ".json"));
  EXPECT_FALSE(StringUtilities::endsWith("a.JSON", ".json"));
  EXPECT_FALSE(StringUtilities::endsWith("json", ".json"));
}

TEST(StringUtilities, TokenizeTrimsPiecesAndDropsEmptyOnes) {
  EXPECT_EQ((Tokens{"a", "b", "c"}), tokens("  a. b..c ", "."));
}

TEST(StringUtilities, TokenizeTakesTheDelimitersAsASetOfBytes) {
  EXPECT_EQ((Tokens{"a", "b", "c"}), tokens("a./b/.c", "./"));
}

TEST(StringUtilities, TokenizeOfEmptyTextOrSetGivesNothing) {
  EXPECT_EQ(Tokens{}, tokens("", "."));
  EXPECT_EQ(Tokens{}, tokens("a.b", ""));
  EXPECT_EQ(Tokens{}, tokens("...", "."));
}

TEST(StringUtilities, TokenizeWithoutADelimiterGivesTheWholeText) {
  EXPECT_EQ(Tokens{"localhost"}, tokens("localhost", "."));
}

TEST(StringUtilities, AppendAddsTheDecimalDigits) {
  std::string text("n=");
  StringUtilities::append(&text, 7);
  StringUtilities::append(&text, std::numeric_limits<int>::min());
  EXPECT_EQ("n=7-2147483648", text);
}

}  // namespace
