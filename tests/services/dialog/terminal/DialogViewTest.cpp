#include "services/dialog/terminal/DialogView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/services/dialog/terminal/RowText.h"
#include "tests/services/dialog/terminal/SampleDialog.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

constexpr TerminalSize kUsual = {24, 80};
constexpr TerminalSize kSmallest = {12, 40};

DialogView makeView(TerminalSize size = kUsual) {
  return {makeSampleDialog(), size, true};
}

std::vector<std::string> draw(const DialogView& view) {
  return textsOf(view.draw(false, std::nullopt));
}

TEST(DialogView, DrawsOneRowForEachOfTheTerminal) {
  EXPECT_EQ(24U, draw(makeView()).size());
  EXPECT_EQ(12U, draw(makeView(kSmallest)).size());
}

TEST(DialogView, TheTitleStandsAbove) {
  EXPECT_EQ(" The certificate of this server is not trusted", draw(makeView()).front());
}

TEST(DialogView, AllChoicesStandBelowWithTheirKeys) {
  const std::vector<std::string> rows = draw(makeView());
  EXPECT_EQ(" Enter    Do not connect", rows.at(21));
  EXPECT_EQ(" o        Connect this once", rows.at(22));
  EXPECT_EQ(" a        Always trust exactly this", rows.at(23));
}

TEST(DialogView, AllChoicesStandBelowOnTheSmallestTerminal) {
  const std::vector<std::string> rows = draw(makeView(kSmallest));
  EXPECT_EQ(" Enter    Do not connect", rows.at(9));
  EXPECT_EQ(" a        Always trust exactly this", rows.at(11));
}

TEST(DialogView, OfATitleThatIsTooLongTheRestScrollsWithTheText) {
  DialogModel model = makeSampleDialog();
  model.title = std::string(70, 'x') + " " + std::string(70, 'y');
  const DialogView view(model, kUsual, true);
  const std::vector<std::string> rows = draw(view);
  EXPECT_EQ(" " + std::string(70, 'x'), rows.at(0));
  EXPECT_EQ(" " + std::string(70, 'y'), rows.at(1));
}

TEST(DialogView, OnlyTheAcceptingChoicesWait) {
  const std::vector<std::string> rows = textsOf(makeView().draw(true, std::nullopt));
  EXPECT_EQ(" Enter    Do not connect", rows.at(21));
  EXPECT_EQ(" o wait   Connect this once", rows.at(22));
  EXPECT_EQ(" a wait   Always trust exactly this", rows.at(23));
}

TEST(DialogView, SaysThatThereIsMoreBelow) {
  EXPECT_THAT(draw(makeView(kSmallest)).at(8), HasSubstr("more below (7/"));
}

TEST(DialogView, SaysNothingOfMoreWhereAllIsShown) {
  EXPECT_THAT(draw(makeView({100, 80})).at(96), Not(HasSubstr("(")));
}

TEST(DialogView, ScrollsByLines) {
  DialogView view = makeView(kSmallest);
  const std::string second = draw(view).at(2);
  view.scroll(Key::lineDown);
  EXPECT_EQ(second, draw(view).at(1));
  view.scroll(Key::lineUp);
  EXPECT_EQ(second, draw(view).at(2));
}

TEST(DialogView, OneRowStaysInSightWhenItScrollsByPages) {
  DialogView view = makeView(kSmallest);
  const std::string last = draw(view).at(7);
  view.scroll(Key::pageDown);
  EXPECT_EQ(last, draw(view).at(1));
  view.scroll(Key::pageUp);
  EXPECT_EQ(last, draw(view).at(7));
}

TEST(DialogView, ScrollsToTheEndAndNoFurther) {
  DialogView view = makeView(kSmallest);
  view.scroll(Key::bottom);
  const std::vector<std::string> rows = draw(view);
  EXPECT_THAT(rows.at(8), HasSubstr("end of text"));
  EXPECT_EQ("     2020-01-01 to 2099-12-31", rows.at(7));
  view.scroll(Key::lineDown);
  EXPECT_EQ(rows, draw(view));
}

TEST(DialogView, ScrollsBackToTheTop) {
  DialogView view = makeView(kSmallest);
  const std::vector<std::string> rows = draw(view);
  view.scroll(Key::bottom);
  view.scroll(Key::top);
  EXPECT_EQ(rows, draw(view));
  view.scroll(Key::pageUp);
  EXPECT_EQ(rows, draw(view));
}

TEST(DialogView, EveryRowOfTheTextCanBeScrolledIntoSight) {
  const std::vector<std::string> all =
      textsOf(layoutSections(makeSampleDialog().sections, Page{80, true}));
  DialogView view = makeView({12, 80});
  std::vector<std::string> seen;
  for (std::size_t i = 0; i < all.size(); ++i) {
    for (const std::string& row : draw(view)) seen.push_back(row);
    view.scroll(Key::lineDown);
  }
  for (const std::string& row : all) EXPECT_THAT(seen, Contains(row));
}

TEST(DialogView, TheSecondQuestionNamesWhatIsAccepted) {
  DialogView view = makeView();
  view.ask(Question::confirmation);
  const std::vector<std::string> rows = draw(view);
  EXPECT_EQ(" Always trust this certificate?", rows.at(0));
  EXPECT_EQ("   From now on it is trusted without a question.", rows.at(1));
  EXPECT_EQ("   domain │ EVIL.example", rows.at(2));
  EXPECT_EQ(" Enter    Do not connect", rows.at(21));
  EXPECT_EQ(" b        Back to the choices", rows.at(22));
  EXPECT_EQ(" y        Yes, trust it from now on", rows.at(23));
}

TEST(DialogView, TheSecondQuestionStartsAtItsTop) {
  DialogView view = makeView(kSmallest);
  view.scroll(Key::bottom);
  view.ask(Question::confirmation);
  EXPECT_EQ("   From now on it is trusted without a", draw(view).at(1));
}

TEST(DialogView, OnlyAcceptingTheSecondQuestionWaits) {
  DialogView view = makeView();
  view.ask(Question::confirmation);
  const std::vector<std::string> rows = textsOf(view.draw(true, std::nullopt));
  EXPECT_EQ(" b        Back to the choices", rows.at(22));
  EXPECT_EQ(" y wait   Yes, trust it from now on", rows.at(23));
}

TEST(DialogView, TheLastMinuteIsShown) {
  EXPECT_THAT(textsOf(makeView().draw(false, 60)).at(20), HasSubstr(" 60 s left "));
  EXPECT_THAT(textsOf(makeView(kSmallest).draw(false, 9)).at(8), HasSubstr(" 9 s left "));
}

TEST(DialogView, MoreThanAMinuteIsNotShown) {
  EXPECT_THAT(textsOf(makeView().draw(false, 61)).at(20), Not(HasSubstr("s left")));
}

TEST(DialogView, AResizeKeepsThePlaceInTheText) {
  DialogView view = makeView(kSmallest);
  view.scroll(Key::lineDown);
  const std::string first = draw(view).at(1);
  view.resize({11, 40});
  EXPECT_EQ(first, draw(view).at(1));
}

TEST(DialogView, ATerminalThatGrowsShowsNoGapBelowTheText) {
  DialogView view = makeView(kSmallest);
  view.scroll(Key::bottom);
  view.resize({100, 80});
  EXPECT_EQ(" Who asks", draw(view).at(1));
}

class UnreadableSize : public testing::TestWithParam<TerminalSize> {};

TEST_P(UnreadableSize, IsToldAndShowsNoChoice) {
  const DialogView view = makeView(GetParam());
  EXPECT_FALSE(view.isReadable());
  const std::vector<std::string> rows = draw(view);
  EXPECT_EQ(GetParam().rows, rows.size());
  EXPECT_THAT(rows, Not(Contains(HasSubstr("once"))));
}

INSTANTIATE_TEST_SUITE_P(DialogView, UnreadableSize,
                         testing::Values(TerminalSize{24, 39}, TerminalSize{7, 80},
                                         TerminalSize{1, 1}, TerminalSize{0, 0}));

class ReadableSize : public testing::TestWithParam<TerminalSize> {};

TEST_P(ReadableSize, ShowsAllChoicesWithinTheScreen) {
  const DialogView view = makeView(GetParam());
  EXPECT_TRUE(view.isReadable());
  const std::vector<std::string> rows = draw(view);
  EXPECT_EQ(GetParam().rows, rows.size());
  EXPECT_THAT(rows, AllOf(Contains(HasSubstr("Do not connect")), Contains(HasSubstr("once")),
                          Contains(HasSubstr("Always trust exactly"))));
  for (const std::string& row : rows) EXPECT_LT(columnsOf(row), GetParam().columns) << row;
}

INSTANTIATE_TEST_SUITE_P(DialogView, ReadableSize,
                         testing::Values(TerminalSize{24, 80}, TerminalSize{12, 40},
                                         TerminalSize{8, 40}, TerminalSize{60, 300}));

TEST(DialogView, ChoicesThatLeaveNoRoomForTheTextAreNotReadable) {
  DialogModel model = makeSampleDialog();
  model.options[1].label = std::string(2000, 'x');
  EXPECT_FALSE(DialogView(model, kUsual, true).isReadable());
}

}  // namespace
