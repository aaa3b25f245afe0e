#include "services/common/PrintableText.h"

#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;

struct EscapeCase {
  const char* name;
  std::string_view bytes;
  const char* shown;
};

class EscapeText : public testing::TestWithParam<EscapeCase> {};

TEST_P(EscapeText, ShowsTextInItsPlace) {
  EXPECT_EQ(GetParam().shown, escapeText(GetParam().bytes));
}

INSTANTIATE_TEST_SUITE_P(
    Table, EscapeText,
    testing::Values(
        EscapeCase{"Empty", "", ""}, EscapeCase{"Plain", "www.example.org", "www.example.org"},
        EscapeCase{"Accents", "M\u00fcller \u00c5", "M\u00fcller \u00c5"},
        EscapeCase{"Chinese", "\u4e2d\u56fd", "\u4e2d\u56fd"},
        EscapeCase{"LastPlainByte", "~", "~"}, EscapeCase{"Delete", "\x7f", "\\x7f"},
        EscapeCase{"EscapeSequence", "\x1b[31mred", "\\x1b[31mred"},
        EscapeCase{"LineFeed", "a\nTRUSTED", "a\\x0aTRUSTED"},
        EscapeCase{"CarriageReturn", "a\rb", "a\\x0db"},
        EscapeCase{"Nul", "bank\0.evil"sv, "bank\\x00.evil"},
        EscapeCase{"C1Control", "\u009b31m", "\\u{9b}31m"},
        EscapeCase{"Backslash", "\\x1b", "\\\\x1b"},
        EscapeCase{"BidiOverride", "a\u202egro", "a\\u{202e}gro"},
        EscapeCase{"BidiIsolate", "\u2066a\u2069", "\\u{2066}a\\u{2069}"},
        EscapeCase{"ArabicLetterMark", "\u061c", "\\u{61c}"},
        EscapeCase{"ZeroWidthSpace", "a\u200bb", "a\\u{200b}b"},
        EscapeCase{"ZeroWidthJoiner", "a\u200db", "a\\u{200d}b"},
        EscapeCase{"ByteOrderMark",
                   "\ufeff"
                   "a",
                   "\\u{feff}a"},
        EscapeCase{"SoftHyphen",
                   "ex\u00ad"
                   "am",
                   "ex\\u{ad}am"},
        EscapeCase{"NoBreakSpace", "a\u00a0b", "a\\u{a0}b"},
        EscapeCase{"CombiningMark", "a\u0301", "a\\u{301}"},
        EscapeCase{"LineSeparator", "a\u2028b", "a\\u{2028}b"},
        EscapeCase{"Tag", "\U000e0041", "\\u{e0041}"},
        EscapeCase{"VariationSelector", "a\ufe0f", "a\\u{fe0f}"},
        EscapeCase{"HangulFiller", "\u3164", "\\u{3164}"},
        EscapeCase{"ReplacementCharacter", "\ufffd", "\\u{fffd}"},
        EscapeCase{"InvalidByte",
                   "a\xff"
                   "b",
                   "a\\xffb"},
        EscapeCase{"CutSequence", "\xe4\xb8", "\\xe4\\xb8"},
        EscapeCase{"OverlongSlash", "\xc0\xaf", "\\xc0\\xaf"},
        EscapeCase{"OverlongThree", "\xe0\x80\xaf", "\\xe0\\x80\\xaf"},
        EscapeCase{"Surrogate", "\xed\xa0\x80", "\\xed\\xa0\\x80"},
        EscapeCase{"BeyondUnicode", "\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},
        EscapeCase{"OneSpace", "a b", "a b"}, EscapeCase{"Padding", "a   b", "a \\x20\\x20b"},
        EscapeCase{"LeadingSpace", " a", "\\x20a"}, EscapeCase{"TrailingSpace", "a ", "a\\x20"}),
    [](const auto& param) { return param.param.name; });

TEST(EscapeTextSpecials, AreEscapedOnRequest) {
  EXPECT_EQ("a\\x2cb\\x3dc", escapeText("a,b=c", ",="));
}

TEST(FitLines, KeepsWhatFitsExactly) {
  EXPECT_THAT(fitLines(std::string(40, 'a'), 40, 1), ElementsAre(std::string(40, 'a')));
}

TEST(FitLines, GivesOneLineForNothing) {
  EXPECT_THAT(fitLines("", 40, 3), ElementsAre(""));
}

TEST(FitLines, CutsWithAMarkThatTellsHowMuch) {
  EXPECT_THAT(fitLines(std::string(100, 'a'), 40, 1),
              ElementsAre(std::string(23, 'a') + "\\[77 more bytes]"));
}

TEST(FitLines, CountsTheCutInBytesWhenColumnsAreNarrowerThanBytes) {
  std::string accents;
  for (int i = 0; i < 41; ++i) {
    accents += "\u00e9";
  }
  std::string kept;
  for (int i = 0; i < 24; ++i) {
    kept += "\u00e9";
  }
  EXPECT_THAT(fitLines(accents, 40, 1), ElementsAre(kept + "\\[34 more bytes]"));
}

TEST(FitLines, BreaksIntoLinesAndCutsTheLast) {
  const std::string a(40, 'a');
  const std::string b(40, 'b');
  EXPECT_THAT(fitLines(a + b, 40, 2), ElementsAre(a, b));
  EXPECT_THAT(fitLines(a + b + b, 40, 2),
              ElementsAre(a, std::string(24, 'b') + "\\[56 more bytes]"));
}

TEST(FitLines, NeverBreaksInsideAnEscape) {
  const std::string front(38, 'a');
  EXPECT_THAT(fitLines(front + "\\x1bz", 40, 2), ElementsAre(front, "\\x1bz"));
  EXPECT_THAT(fitLines(front + "\\u{202e}z", 40, 2), ElementsAre(front, "\\u{202e}z"));
  EXPECT_THAT(fitLines(front + "a\\\\z", 40, 2), ElementsAre(front + "a", "\\\\z"));
}

TEST(FitLines, CountsWideCharactersTwice) {
  std::string wide;
  for (int i = 0; i < 21; ++i) {
    wide += "\u4e2d";
  }
  EXPECT_THAT(fitLines(wide, 40, 2), ElementsAre(wide.substr(0, 60), "\u4e2d"));
}

TEST(PrintableText, EscapesAndCutsToOneLine) {
  EXPECT_EQ("a\\x0ab", printableText("a\nb"));
  EXPECT_EQ(std::string(23, 'a') + "\\[77 more bytes]", printableText(std::string(100, 'a'), 40));
}

TEST(EscapeText, MarksThatStackOnTheirNeighboursAreEscapedInEveryScript) {
  EXPECT_EQ("\u05d0\\u{5b7}", escapeText("\u05d0\u05b7"));
  EXPECT_EQ("\u0915\\u{941}", escapeText("\u0915\u0941"));
}

TEST(EscapeText, CharactersThatNobodyHasAssignedAreEscaped) {
  EXPECT_EQ("\\u{378}", escapeText("\u0378"));
}

TEST(FitLines, CountsWideSymbolsOutsideTheIdeographsAsTwo) {
  std::string text;
  for (int i = 0; i < 21; ++i) {
    text += "\u231a";
  }
  EXPECT_EQ(2U, fitLines(text, 40, 2).size());
}

}  // namespace
