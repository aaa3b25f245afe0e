#include "services/dialog/terminal/Layout.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/services/dialog/terminal/RowText.h"
#include "tests/services/dialog/terminal/SampleDialog.h"

namespace {

using testing::ElementsAre;
using testing::StartsWith;

DialogLine words(const std::string& label, const std::string& text) {
  return {label, text, DialogTone::plain, false};
}

DialogLine foreign(const std::string& label, const std::string& text) {
  return {label, text, DialogTone::plain, true};
}

constexpr Page kWide = {80, true};
constexpr Page kNarrow = {40, true};
constexpr Page kAscii = {80, false};

TEST(WrapWords, AShortTextIsOneLine) {
  EXPECT_THAT(wrapWords("a few words", 40), ElementsAre("a few words"));
}

TEST(WrapWords, TheEmptyTextIsOneEmptyLine) {
  EXPECT_THAT(wrapWords("", 40), ElementsAre(""));
}

TEST(WrapWords, LinesEndBetweenWords) {
  EXPECT_THAT(wrapWords("one two three four", 10), ElementsAre("one two", "three four"));
}

TEST(WrapWords, AWordThatEndsWithTheLineStays) {
  EXPECT_THAT(wrapWords("one two three", 7), ElementsAre("one two", "three"));
}

TEST(WrapWords, AWordLongerThanALineIsBroken) {
  EXPECT_THAT(wrapWords("abcdefghijkl mn", 5), ElementsAre("abcde", "fghij", "kl mn"));
}

TEST(WrapWords, WideCharactersCountTwice) {
  EXPECT_THAT(wrapWords("悪意 悪意 悪意", 9), ElementsAre("悪意 悪意", "悪意"));
}

TEST(LayoutLines, LabelsStandBesideTheirTextsOnAWidePage) {
  EXPECT_THAT(textsOf(layoutLines({words("user", "alice"), words("process", "12")}, kWide)),
              ElementsAre("   user      alice", "   process   12"));
}

TEST(LayoutLines, LabelsStandAboveTheirTextsOnANarrowPage) {
  EXPECT_THAT(textsOf(layoutLines({words("user", "alice"), foreign("program", "x")}, kNarrow)),
              ElementsAre("   user", "     alice", "   program", "   │ x"));
}

TEST(LayoutLines, AVeryLongLabelStandsAboveItsText) {
  EXPECT_THAT(
      textsOf(layoutLines({words("a label of many words", "text"), words("b", "c")}, kWide)),
      ElementsAre("   a label of many words", "       text", "   b   c"));
}

TEST(LayoutLines, ASentenceOfTheProgramTakesTheWholeWidth) {
  EXPECT_THAT(textsOf(layoutLines({words("", "a sentence"), words("user", "alice")}, kWide)),
              ElementsAre("   a sentence", "   user   alice"));
}

TEST(LayoutLines, ForeignTextStandsBehindABar) {
  EXPECT_THAT(textsOf(layoutLines({foreign("subject", "CN=x")}, kWide)),
              ElementsAre("   subject │ CN=x"));
}

TEST(LayoutLines, TheBarIsAsciiWhereThereIsNothingElse) {
  EXPECT_THAT(textsOf(layoutLines({foreign("subject", "CN=x")}, kAscii)),
              ElementsAre("   subject | CN=x"));
}

TEST(LayoutLines, EveryRowOfAForeignTextStandsBehindTheBar) {
  EXPECT_THAT(textsOf(layoutLines({foreign("", std::string(80, 'x'))}, kWide)),
              ElementsAre("   │ " + std::string(74, 'x'), "   │ xxxxxx"));
}

TEST(LayoutLines, ForeignTextIsNotBrokenInsideAnEscape) {
  const std::string start(33, 'x');
  EXPECT_THAT(textsOf(layoutLines({foreign("", start + "\\u{10ffff}")}, kNarrow)),
              ElementsAre("   │ " + start, "   │ \\u{10ffff}"));
}

TEST(LayoutLines, AnEmptyForeignTextStillHasItsField) {
  EXPECT_THAT(textsOf(layoutLines({foreign("subject", "")}, kWide)), ElementsAre("   subject │ "));
}

TEST(LayoutLines, AToneStaysWithItsText) {
  DialogLine line = foreign("valid", "long ago");
  line.tone = DialogTone::doubt;
  const std::vector<Row> rows = layoutLines({line}, kWide);
  EXPECT_EQ((Span{"long ago", SpanRole::foreign, DialogTone::doubt}), rows.at(0).back());
}

TEST(LayoutSections, ABlankRowStandsBetweenSections) {
  const DialogSection section = {"asker", "Who asks", DialogTone::plain, {words("", "me")}};
  EXPECT_THAT(textsOf(layoutSections({section, section}, kWide)),
              ElementsAre(" Who asks", "   me", "", " Who asks", "   me"));
}

class LayoutOfHostileText : public testing::TestWithParam<Page> {};

TEST_P(LayoutOfHostileText, NoRowReachesTheLastColumn) {
  for (const std::string& row : textsOf(layoutSections(makeSampleDialog().sections, GetParam()))) {
    EXPECT_LT(columnsOf(row), GetParam().columns) << row;
  }
}

TEST_P(LayoutOfHostileText, ForeignTextOnlyFollowsABar) {
  for (const Row& row : layoutSections(makeSampleDialog().sections, GetParam())) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      if (row[i].role != SpanRole::foreign) continue;
      ASSERT_GT(i, 0U);
      EXPECT_EQ(SpanRole::bar, row[i - 1].role);
      EXPECT_THAT(textOf(row), StartsWith("   "));
    }
  }
}

TEST_P(LayoutOfHostileText, NothingOfItIsLost) {
  const std::string hostile = makeSampleDialog().sections[2].lines[0].text;
  std::string shown;
  for (const Row& row : layoutLines({foreign("subject", hostile)}, GetParam())) {
    if (row.back().role == SpanRole::foreign) shown += row.back().text;
  }
  EXPECT_EQ(hostile, shown);
}

INSTANTIATE_TEST_SUITE_P(Pages, LayoutOfHostileText,
                         testing::Values(Page{80, true}, Page{80, false}, Page{60, true},
                                         Page{59, true}, Page{40, true}, Page{40, false},
                                         Page{41, true}, Page{300, true}));

TEST(LayoutChoice, TheKeyStandsBeforeTheChoice) {
  EXPECT_THAT(textsOf(layoutChoice("o", "Connect this once", false, kWide)),
              ElementsAre(" o        Connect this once"));
}

TEST(LayoutChoice, AWaitingChoiceSaysSo) {
  const std::vector<Row> rows = layoutChoice("o", "Connect this once", true, kWide);
  EXPECT_THAT(textsOf(rows), ElementsAre(" o wait   Connect this once"));
  EXPECT_EQ(SpanRole::waiting, rows.at(0).back().role);
}

TEST(LayoutChoice, ALongChoiceIsWrappedBesideItsKey) {
  EXPECT_THAT(
      textsOf(layoutChoice("Enter", "Do not connect, whatever it costs me", false, kNarrow)),
      ElementsAre(" Enter    Do not connect, whatever it", "          costs me"));
}

TEST(LayoutStatus, TheRuleLeavesOnlyTheLastColumnFree) {
  EXPECT_EQ(79U, columnsOf(textOf(layoutStatus("more below (1/2)", "9 s left", kWide))));
  EXPECT_EQ(39U, columnsOf(textOf(layoutStatus("more below (1/2)", "9 s left", kNarrow))));
  EXPECT_EQ(79U, columnsOf(textOf(layoutStatus("", "", kWide))));
}

TEST(LayoutStatus, TheRemarkFallsAwayWhereThereIsNoRoom) {
  EXPECT_EQ("-- more below (100/2000) --------------",
            textOf(layoutStatus("more below (100/2000)", "arrows, space: scroll", {40, false})));
}

}  // namespace
