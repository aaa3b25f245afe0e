#include <algorithm>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "services/dialog/model/DialogModelCodec.h"
#include "tests/services/dialog/terminal/FaceProcess.h"
#include "tests/services/dialog/terminal/SampleDialog.h"

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* kLastChoice = "Always trust exactly this";
constexpr const char* kLastConfirmation = "Yes, trust it from now on";
constexpr int kNever = 1000 * 1000 * 1000;  // milliseconds

class TerminalFaceTest : public testing::Test {
 protected:
  TerminalFaceTest() : before_(terminal_.settings()) {}

  std::string model() const { return encodeDialogModel(dialog_); }

  // Starts, types when all is drawn, and expects the answer and a terminal as it was.
  void expectAnswer(const std::string& keys, const std::string& answer) {
    FaceProcess face(terminal_, model());
    ASSERT_TRUE(face.shows(kLastChoice)) << face.errors();
    terminal_.type(keys);
    EXPECT_EQ(0, face.wait()) << face.errors();
    EXPECT_EQ(answer + "\n", face.answer());
    EXPECT_TRUE(before_ == terminal_.settings());
  }

  // Expects that nothing was asked, the reason, and a terminal as it was.
  void expectRefusal(const std::string& text, const FaceProcess::Setup& setup,
                     const std::string& reason) {
    FaceProcess face(terminal_, text, setup);
    EXPECT_EQ(1, face.wait());
    EXPECT_EQ("", face.answer());
    EXPECT_EQ("trust-dialog-terminal: " + reason + "\n", face.errors());
    EXPECT_EQ("", face.drawn());
    EXPECT_TRUE(before_ == terminal_.settings());
  }

  DialogModel dialog_ = makeSampleDialog();
  PseudoTerminal terminal_;
  termios before_;
};

TEST_F(TerminalFaceTest, OIsOnce) {
  expectAnswer("o", "once");
}

TEST_F(TerminalFaceTest, EnterDeclines) {
  expectAnswer("\r", "decline");
}

TEST_F(TerminalFaceTest, EscapeDeclines) {
  expectAnswer("\x1b", "decline");
}

TEST_F(TerminalFaceTest, TwoEscapesDecline) {
  expectAnswer("\x1b\x1b", "decline");
}

TEST_F(TerminalFaceTest, ControlCDeclines) {
  expectAnswer("\x03", "decline");
}

TEST_F(TerminalFaceTest, ControlDDeclines) {
  expectAnswer("\x04", "decline");
}

TEST_F(TerminalFaceTest, ControlBackslashDeclines) {
  expectAnswer("\x1c", "decline");
}

TEST_F(TerminalFaceTest, ControlZAndControlSAndControlQMeanNothing) {
  expectAnswer("\x1a\x13\x11o", "once");
}

TEST_F(TerminalFaceTest, ArrowKeysDoNotDecline) {
  expectAnswer("\x1bOA\x1bOB\x1bOC\x1bODo", "once");
}

TEST_F(TerminalFaceTest, ArrowKeysOfAnotherTerminalDoNotDecline) {
  expectAnswer("\x1b[A\x1b[B\x1b[C\x1b[Do", "once");
}

TEST_F(TerminalFaceTest, LettersWithinAKeysSequenceAcceptNothing) {
  expectAnswer("\x1b[a\x1bOa\x1b[1;5o\x1boq", "decline");
}

TEST_F(TerminalFaceTest, LettersWithinAnAnswerOfTheTerminalAcceptNothing) {
  expectAnswer("\x1b]11;rgb:oooo/oooo/oooo\x07q", "decline");
}

TEST_F(TerminalFaceTest, AlwaysNeedsASecondAnswer) {
  FaceProcess face(terminal_, model());
  ASSERT_TRUE(face.shows(kLastChoice));
  terminal_.type("a");
  ASSERT_TRUE(face.shows(kLastConfirmation));
  terminal_.type("y");
  EXPECT_EQ(0, face.wait());
  EXPECT_EQ("always\n", face.answer());
  EXPECT_TRUE(before_ == terminal_.settings());
}

TEST_F(TerminalFaceTest, BackLeadsToTheFirstQuestion) {
  FaceProcess face(terminal_, model());
  ASSERT_TRUE(face.shows(kLastChoice));
  terminal_.type("a");
  ASSERT_TRUE(face.shows(kLastConfirmation));
  terminal_.type("b");
  ASSERT_TRUE(face.shows(kLastChoice));
  terminal_.type("o");
  EXPECT_EQ(0, face.wait());
  EXPECT_EQ("once\n", face.answer());
}

TEST_F(TerminalFaceTest, EnterDeclinesAtTheSecondQuestionToo) {
  FaceProcess face(terminal_, model());
  ASSERT_TRUE(face.shows(kLastChoice));
  terminal_.type("a");
  ASSERT_TRUE(face.shows(kLastConfirmation));
  terminal_.type("\r");
  EXPECT_EQ(0, face.wait());
  EXPECT_EQ("decline\n", face.answer());
}

TEST_F(TerminalFaceTest, NothingAcceptsBeforeItIsArmed) {
  dialog_.armMilliseconds = kNever;
  expectAnswer("oayoayq", "decline");
}

TEST_F(TerminalFaceTest, WhatIsNotArmedIsShownAsWaiting) {
  dialog_.armMilliseconds = kNever;
  FaceProcess face(terminal_, model());
  ASSERT_TRUE(face.shows(kLastChoice));
  EXPECT_THAT(face.drawn(), HasSubstr("o wait"));
}

TEST_F(TerminalFaceTest, WhatHasBeenArmedIsShownAsSuch) {
  dialog_.armMilliseconds = 1;
  FaceProcess face(terminal_, model());
  ASSERT_TRUE(face.shows("wait"));
  ASSERT_TRUE(face.shows(kLastChoice));
  // Only the two choices are drawn again.
  ASSERT_TRUE(face.shows("Connect this once"));
  terminal_.type("o");
  EXPECT_EQ(0, face.wait());
  EXPECT_EQ("once\n", face.answer());
}

TEST_F(TerminalFaceTest, WhatWasTypedBeforeTheDialogAcceptsNothing) {
  terminal_.type("o\n");
  expectAnswer("q", "decline");
}

TEST_F(TerminalFaceTest, KeyTypedBeforeItIsArmedAcceptsNothingHoweverLateItIsRead) {
  constexpr std::chrono::milliseconds kArming{500};
  dialog_.armMilliseconds = static_cast<int>(kArming.count());
  const auto started = std::chrono::steady_clock::now();
  FaceProcess face(terminal_, model());
  ASSERT_TRUE(face.shows("o wait"));
  ASSERT_TRUE(face.shows(kLastChoice));
  face.kill(SIGSTOP);
  terminal_.type("o");
  const auto typed = std::chrono::steady_clock::now();
  if (typed - started >= kArming) GTEST_SKIP() << "it may have been armed before";
  std::this_thread::sleep_until(typed + kArming);  // by then it is armed, if unseen
  face.kill(SIGCONT);
  ASSERT_TRUE(face.shows("Connect this once"));
  terminal_.type("q");
  EXPECT_EQ(0, face.wait());
  EXPECT_EQ("decline\n", face.answer());
}

TEST_F(TerminalFaceTest, PastedTextAcceptsNothing) {
  expectAnswer("to all of you: bye q", "decline");
}

TEST_F(TerminalFaceTest, ReportOfTheMouseAcceptsNothing) {
  expectAnswer("\x1b[M ooq", "decline");
}

TEST_F(TerminalFaceTest, TheTimeOutDeclines) {
  dialog_.timeoutSeconds = 1;
  expectAnswer("", "decline");
}

TEST_F(TerminalFaceTest, TheTimeOutIsShown) {
  dialog_.timeoutSeconds = 59;
  FaceProcess face(terminal_, model());
  EXPECT_TRUE(face.shows("s left"));
}

TEST_F(TerminalFaceTest, AResizeIsFollowed) {
  FaceProcess face(terminal_, model());
  ASSERT_TRUE(face.shows(kLastChoice));
  terminal_.resize(12, 40);
  ASSERT_TRUE(face.shows("more below (7/"));
  ASSERT_TRUE(face.shows(kLastChoice));
  terminal_.type("o");
  EXPECT_EQ(0, face.wait());
  EXPECT_EQ("once\n", face.answer());
  EXPECT_TRUE(before_ == terminal_.settings());
}

TEST_F(TerminalFaceTest, NothingIsAcceptedWhileTheChoicesHaveNoRoom) {
  FaceProcess face(terminal_, model());
  ASSERT_TRUE(face.shows(kLastChoice));
  terminal_.resize(5, 30);
  ASSERT_TRUE(face.shows("Too small"));
  terminal_.type("oq");
  EXPECT_EQ(0, face.wait());
  EXPECT_EQ("decline\n", face.answer());
}

TEST_F(TerminalFaceTest, ItGoesOnWhenTheChoicesHaveRoomAgain) {
  FaceProcess face(terminal_, model());
  ASSERT_TRUE(face.shows(kLastChoice));
  terminal_.resize(5, 30);
  ASSERT_TRUE(face.shows("Too small"));
  terminal_.resize(24, 80);
  ASSERT_TRUE(face.shows(kLastChoice));
  terminal_.type("o");
  EXPECT_EQ(0, face.wait());
  EXPECT_EQ("once\n", face.answer());
}

TEST_F(TerminalFaceTest, AHangUpOfTheTerminalIsAFailure) {
  FaceProcess face(terminal_, model());
  ASSERT_TRUE(face.shows(kLastChoice));
  terminal_.hangUp();
  EXPECT_EQ(1, face.wait());
  EXPECT_EQ("", face.answer());
  EXPECT_EQ("trust-dialog-terminal: the terminal has gone\n", face.errors());
}

class SignalTest : public TerminalFaceTest, public testing::WithParamInterface<int> {};

TEST_P(SignalTest, EndsItWithoutAWordAndRestoresTheTerminal) {
  FaceProcess face(terminal_, model());
  ASSERT_TRUE(face.shows(kLastChoice));
  face.kill(GetParam());
  EXPECT_EQ(1, face.wait());
  EXPECT_EQ("", face.answer());
  EXPECT_EQ("", face.errors());
  EXPECT_TRUE(before_ == terminal_.settings());
  EXPECT_TRUE(face.shows("\x1b[?1049l"));  // back to the screen from before
}

TEST_P(SignalTest, EndsItThoughTheTerminalTakesNoOutput) {
  terminal_.stopOutput();
  FaceProcess face(terminal_, model());
  while (before_ == terminal_.settings()) {  // until it sets up the terminal, at the latest
  }
  face.kill(GetParam());
  EXPECT_EQ(1, face.wait());
  EXPECT_TRUE(before_ == terminal_.settings());
}

INSTANTIATE_TEST_SUITE_P(Ending, SignalTest, testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST_F(TerminalFaceTest, TheScreenFromBeforeComesBack) {
  FaceProcess face(terminal_, model());
  ASSERT_TRUE(face.shows("\x1b[?1049h"));
  ASSERT_TRUE(face.shows(kLastChoice));
  terminal_.type("o");
  EXPECT_EQ(0, face.wait());
  EXPECT_TRUE(face.shows("\x1b[?1049l"));
}

TEST_F(TerminalFaceTest, ColoursAreUsedWhereTheTerminalHasThem) {
  FaceProcess face(terminal_, model());
  ASSERT_TRUE(face.shows(kLastChoice));
  EXPECT_THAT(face.drawn(), HasSubstr("\x1b[31m"));
}

TEST_F(TerminalFaceTest, NoColoursAreUsedWhereTheyAreNotWanted) {
  FaceProcess::Setup setup;
  setup.arguments = {"--no-colour"};
  FaceProcess face(terminal_, model(), setup);
  ASSERT_TRUE(face.shows(kLastChoice));
  EXPECT_THAT(face.drawn(), Not(testing::ContainsRegex("\x1b\\[[0-9;]*3[0-8][;m]")));
}

class OtherTerminalTest : public TerminalFaceTest,
                          public testing::WithParamInterface<const char*> {};

TEST_P(OtherTerminalTest, CanBeAskedOn) {
  FaceProcess::Setup setup;
  setup.term = GetParam();
  FaceProcess face(terminal_, model(), setup);
  ASSERT_TRUE(face.shows(kLastChoice)) << face.errors();
  terminal_.type("o");
  EXPECT_EQ(0, face.wait());
  EXPECT_EQ("once\n", face.answer());
  EXPECT_TRUE(before_ == terminal_.settings());
}

INSTANTIATE_TEST_SUITE_P(Terminals, OtherTerminalTest,
                         testing::Values("linux", "vt100", "screen", "tmux-256color"));

TEST_F(TerminalFaceTest, ALocaleWithoutUtf8ShowsAsciiOnly) {
  FaceProcess::Setup setup;
  setup.locale = "C";
  FaceProcess face(terminal_, model(), setup);
  ASSERT_TRUE(face.shows(kLastChoice));
  EXPECT_THAT(face.drawn(), HasSubstr("| /usr/bin/EVIL"));
  EXPECT_TRUE(std::all_of(face.drawn().begin(), face.drawn().end(),
                          [](char c) { return static_cast<unsigned char>(c) < 0x80; }));
}

TEST_F(TerminalFaceTest, ALocaleWithoutUtf8ShowsOtherCharactersEscaped) {
  dialog_.title = "Grüße";
  FaceProcess::Setup setup;
  setup.locale = "C";
  FaceProcess face(terminal_, model(), setup);
  EXPECT_TRUE(face.shows("Gr\\u{fc}\\u{df}e"));
}

TEST_F(TerminalFaceTest, ATerminalOfUnknownSizeHasTheUsualOne) {
  terminal_.resize(0, 0);
  expectAnswer("o", "once");
}

TEST_F(TerminalFaceTest, WithoutAnyUsualSizeItIsTwentyFourTimesEighty) {
  terminal_.resize(0, 0);
  FaceProcess::Setup setup;
  setup.term = "linux";
  FaceProcess face(terminal_, model(), setup);
  ASSERT_TRUE(face.shows("\x1b[24"));  // the last row
  EXPECT_TRUE(face.shows(kLastChoice));
}

TEST_F(TerminalFaceTest, ATerminalThatIsTooSmallIsRefused) {
  terminal_.resize(24, 39);
  expectRefusal(model(), {}, "the terminal is too small for the dialog");
}

TEST_F(TerminalFaceTest, ADumbTerminalIsRefused) {
  FaceProcess::Setup setup;
  setup.term = "dumb";
  expectRefusal(model(), setup, "the terminal cannot move its cursor");
}

TEST_F(TerminalFaceTest, AnUnknownTerminalIsRefused) {
  FaceProcess::Setup setup;
  setup.term = "nothing-of-that-kind";
  expectRefusal(model(), setup, "nothing is known of a terminal of the kind that TERM names");
}

TEST_F(TerminalFaceTest, AnUnnamedTerminalIsRefused) {
  FaceProcess::Setup setup;
  setup.term = "";
  expectRefusal(model(), setup, "TERM is not set");
}

TEST_F(TerminalFaceTest, AMissingTerminalIsRefused) {
  FaceProcess::Setup setup;
  setup.path = "/dev/nothing/of/that/kind";
  expectRefusal(model(), setup,
                "cannot use the terminal /dev/nothing/of/that/kind: No such file or directory");
}

TEST_F(TerminalFaceTest, AFileThatIsNoTerminalIsRefused) {
  FaceProcess::Setup setup;
  setup.path = "/dev/null";
  expectRefusal(model(), setup,
                "cannot use the terminal /dev/null: Inappropriate ioctl for device");
}

TEST_F(TerminalFaceTest, ATextThatIsNoModelIsRefused) {
  expectRefusal("no model", {}, "the dialog is no JSON object");
}

TEST_F(TerminalFaceTest, ATextThatWouldDrawOutsideItsFieldIsRefused) {
  dialog_.sections[0].lines[0].text = "\x1b[2J";
  expectRefusal(model(), {}, "the dialog holds a text unfit for a screen");
}

}  // namespace
