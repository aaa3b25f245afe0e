#include "services/common/WarningTexts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

TEST(WarningTexts, CoverEveryWarningInBitOrder) {
  ASSERT_EQ(static_cast<std::size_t>(CertificateWarnings::nameCount), warningTexts().size());
  for (int i = 0; i < CertificateWarnings::nameCount; ++i) {
    EXPECT_STREQ(CertificateWarnings::names()[i].text,
                 warningName(warningTexts()[static_cast<std::size_t>(i)]));
  }
}

TEST(WarningTexts, AreSentencesWithoutLineBreaks) {
  for (const WarningText& text : warningTexts()) {
    for (const char* part : {text.summary, text.meaning, text.attack, text.cause, text.next}) {
      EXPECT_THAT(std::string(part), EndsWith("."));
      EXPECT_THAT(std::string(part), Not(HasSubstr("\n")));
    }
  }
}

TEST(WarningTexts, SpeakOfNoProgramsOptionsSinceSeveralShowThem) {
  for (const WarningText& text : warningTexts()) {
    EXPECT_THAT(std::string(text.next), Not(HasSubstr(" --")));
    EXPECT_THAT(std::string(text.next), Not(HasSubstr("trustctl")));
  }
}

TEST(WarningTexts, OfASetComeInBitOrder) {
  EXPECT_THAT(textsOf(0x2108),
              ElementsAre(&warningTexts()[3], &warningTexts()[8], &warningTexts()[13]));
}

TEST(WarningTexts, OfUnknownBitsAreNone) {
  EXPECT_TRUE(textsOf(0x4000).empty());
}

}  // namespace
