#include "services/dialog/model/NameReading.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

TEST(DescribeName, SaysNothingOfOrdinaryNames) {
  EXPECT_THAT(describeName("CN=a.example, O=Bank, L=M\u00fcnchen"), IsEmpty());
  EXPECT_THAT(describeName("CN=\u0411\u0430\u043d\u043a, C=XX"), IsEmpty());
  EXPECT_THAT(describeName("O=\u682a\u5f0f\u4f1a\u793e\u30c6\u30b9\u30c8"), IsEmpty());
  EXPECT_THAT(describeName(""), IsEmpty());
}

TEST(DescribeName, WarnsOfAWordInTwoScripts) {
  const auto lines = describeName("O=B\u0430nk, C=XX");
  ASSERT_EQ(1U, lines.size());
  EXPECT_EQ(DialogTone::danger, lines[0].tone);
  EXPECT_THAT(lines[0].text, HasSubstr("mixes letters"));
}

TEST(DescribeName, DoubtsANameInLettersThatLookLatin) {
  const auto lines = describeName("O=\u0441\u043e\u0440\u0435");
  ASSERT_EQ(1U, lines.size());
  EXPECT_EQ(DialogTone::doubt, lines[0].tone);
}

TEST(DescribeName, AcceptsALatinLookingWordAmongOthersOfItsLanguage) {
  EXPECT_THAT(describeName("O=\u041e\u041e\u041e \u0411\u0430\u043d\u043a"), IsEmpty());
}

}  // namespace
