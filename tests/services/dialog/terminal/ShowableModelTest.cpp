#include "services/dialog/terminal/ShowableModel.h"

#include <locale.h>
#include <wchar.h>

#include <cstdint>
#include <stdexcept>

#include <gtest/gtest.h>

#include "services/common/PrintableText.h"
#include "tests/services/dialog/terminal/SampleDialog.h"

namespace {

bool showsAll(char32_t /*character*/) {
  return true;
}

bool showsAsciiOnly(char32_t /*character*/) {
  return false;
}

std::string showTitle(const std::string& title, bool (*canShow)(char32_t)) {
  DialogModel model = makeSampleDialog();
  model.title = title;
  return makeShowable(model, canShow).title;
}

TEST(ShowableModel, WhatCanBeShownStaysAsItIs) {
  EXPECT_EQ("Grüße, 悪意 😀", showTitle("Grüße, 悪意 😀", showsAll));
}

TEST(ShowableModel, WhatCannotBeShownIsEscaped) {
  EXPECT_EQ("Gr\\u{fc}\\u{df}e \\u{1f600}", showTitle("Grüße 😀", showsAsciiOnly));
}

TEST(ShowableModel, EscapesStayAsTheyAre) {
  EXPECT_EQ("a\\x1b\\u{202e}\\\\b \\[9 more bytes]",
            showTitle("a\\x1b\\u{202e}\\\\b \\[9 more bytes]", showsAll));
}

TEST(ShowableModel, EveryTextIsMadeShowable) {
  DialogModel model = makeSampleDialog();
  model.sections = {{"asker", "é", {}, {{"é", "é", {}, true}}}};
  model.options[1].label = "é";
  model.confirmation = {"é", {{"é", "é", {}, false}}, "é", "é"};
  const DialogModel shown = makeShowable(model, showsAsciiOnly);
  const std::string escaped = "\\u{e9}";
  EXPECT_EQ(escaped, shown.sections[0].heading);
  EXPECT_EQ(escaped, shown.sections[0].lines[0].label);
  EXPECT_EQ(escaped, shown.sections[0].lines[0].text);
  EXPECT_EQ(escaped, shown.options[1].label);
  EXPECT_EQ(escaped, shown.confirmation.heading);
  EXPECT_EQ(escaped, shown.confirmation.lines[0].label);
  EXPECT_EQ(escaped, shown.confirmation.lines[0].text);
  EXPECT_EQ(escaped, shown.confirmation.acceptLabel);
  EXPECT_EQ(escaped, shown.confirmation.backLabel);
}

class UnfitText : public testing::TestWithParam<const char*> {};

TEST_P(UnfitText, IsRefused) {
  DialogModel model = makeSampleDialog();
  model.sections[0].lines[0].text = GetParam();
  EXPECT_THROW(makeShowable(model, showsAll), std::runtime_error);
}

INSTANTIATE_TEST_SUITE_P(ShowableModel, UnfitText,
                         testing::Values("\x1b[2J", "a\nb", "a\rb", "\\\x1b", "\xff", "\xc3",
                                         "\xed\xa0\x80", "\u202e", "e\u0301", "\u200b", "\u009b"));

TEST(ShowableModel, AnOfferWithoutDecliningFirstIsRefused) {
  DialogModel model = makeSampleDialog();
  std::swap(model.options[0], model.options[1]);
  EXPECT_THROW(makeShowable(model, showsAll), std::runtime_error);
}

TEST(ShowableModel, NoOfferAtAllIsRefused) {
  DialogModel model = makeSampleDialog();
  model.options.clear();
  EXPECT_THROW(makeShowable(model, showsAll), std::runtime_error);
}

// Tests start in the C locale.
TEST(ShowableModel, NoCharacterIsShownInALocaleWithoutUtf8) {
  EXPECT_FALSE(isUtf8Locale());
  EXPECT_FALSE(canShowInLocale(U'é'));
}

class Utf8LocaleTest : public testing::Test {
 protected:
  void SetUp() override {
    if (setlocale(LC_ALL, "C.UTF-8") == nullptr) GTEST_SKIP() << "no locale C.UTF-8";
  }
};

TEST_F(Utf8LocaleTest, NarrowAndWideCharactersAreShown) {
  EXPECT_TRUE(isUtf8Locale());
  EXPECT_TRUE(canShowInLocale(U'é'));
  EXPECT_TRUE(canShowInLocale(U'悪'));
}

TEST_F(Utf8LocaleTest, WhatTakesNoColumnIsNotShown) {
  EXPECT_FALSE(canShowInLocale(U'\u0591'));  // a Hebrew accent
  EXPECT_FALSE(canShowInLocale(U'\u0378'));  // not assigned
}

// The columns on the screen of a line of 40, made of one character only.
int columnsOfFullLine(wchar_t character) {
  char bytes[16];
  std::mbstate_t state{};
  const std::size_t length = wcrtomb(bytes, character, &state);
  std::string text;
  for (int i = 0; i < 40; ++i) text.append(bytes, length);
  std::wstring line(40, L'\0');
  line.resize(mbstowcs(line.data(), fitLines(text, 40, 100).front().c_str(), line.size()));
  return wcswidth(line.c_str(), line.size());
}

TEST_F(Utf8LocaleTest, NoShownCharacterMakesALineWiderThanItIsCounted) {
  for (char32_t character = 0x80; character < 0x20000; ++character) {
    if (!canShowInLocale(character)) continue;
    const int columns = columnsOfFullLine(static_cast<wchar_t>(character));
    ASSERT_GT(columns, 0) << std::hex << static_cast<std::uint32_t>(character);
    ASSERT_LE(columns, 40) << std::hex << static_cast<std::uint32_t>(character);
  }
}

}  // namespace
