#include "tools/trustctl/Suggestion.h"

#include <gtest/gtest.h>

namespace {

const std::vector<std::string> names = {"CERT_EXPIRY", "NO_TRUSTED", "REVOKED"};

TEST(NearestWord, FindsASlippedLetter) {
  EXPECT_EQ("REVOKED", nearestWord("REVOEKD", names));
}

TEST(NearestWord, IgnoresLetterCaseAndHyphens) {
  EXPECT_EQ("CERT_EXPIRY", nearestWord("cert-expiri", names));
}

TEST(NearestWord, TakesAFrontPart) {
  EXPECT_EQ("CERT_EXPIRY", nearestWord("cert", names));
}

TEST(NearestWord, GivesNothingForAForeignWord) {
  EXPECT_EQ("", nearestWord("banana", names));
}

TEST(NearestWord, GivesNothingForNothing) {
  EXPECT_EQ("", nearestWord("", names));
}

TEST(NearestWord, GivesNothingForAnEndlessWord) {
  EXPECT_EQ("", nearestWord(std::string(100000, 'R'), names));
}

TEST(DidYouMean, NamesTheNearest) {
  EXPECT_EQ(" (did you mean REVOKED?)", didYouMean("revokd", names));
  EXPECT_EQ("", didYouMean("banana", names));
}

}  // namespace
