#include "services/certmgr/records/Log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/objects/ControlSocket.h"

namespace {

using testing::EndsWith;

// What the log writes, message by message.
class LogTest : public testing::Test {
 protected:
  LogTest() {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    in_ = OwnedFd(ends[0]);
    out_ = OwnedFd(ends[1]);
  }

  // All of it; writing ends.
  std::string written() {
    out_ = OwnedFd();
    std::string text;
    char part[1024];
    for (ssize_t length = 0; (length = read(in_.get(), part, sizeof part)) > 0;) {
      text.append(part, static_cast<std::size_t>(length));
    }
    return text;
  }

  OwnedFd in_;
  OwnedFd out_;
};

TEST(LogLevel, NamesGiveLevels) {
  EXPECT_EQ(LogLevel::error, logLevelNamed("error"));
  EXPECT_EQ(LogLevel::warning, logLevelNamed("warning"));
  EXPECT_EQ(LogLevel::info, logLevelNamed("info"));
  EXPECT_EQ(LogLevel::debug, logLevelNamed("debug"));
}

TEST(LogLevel, OtherNameGivesNone) {
  EXPECT_EQ(std::nullopt, logLevelNamed("Info"));
}

TEST(LogLine, PlainValuesStandAlone) {
  EXPECT_EQ("event a=b.c/1 n=-5", LogLine("event").add("a", "b.c/1").add("n", -5).text());
}

TEST(LogLine, OtherValuesStandInQuotes) {
  EXPECT_EQ(R"(event a="b c" d="" e="f=g")",
            LogLine("event").add("a", "b c").add("d", "").add("e", "f=g").text());
}

TEST(LogLine, ValueCannotEndItsQuotesNorItsLine) {
  EXPECT_EQ(R"(event a="x\x22 verdict=VALID\x0a\\")",
            LogLine("event").add("a", "x\" verdict=VALID\n\\").text());
}

TEST(LogLine, WhatWouldReorderTheLineIsEscaped) {
  EXPECT_EQ(R"(event a="\u{202e}x")", LogLine("event").add("a", "\xe2\x80\xaex").text());
}

TEST(LogLine, LongValueIsCutAndSaysSo) {
  const std::string text = LogLine("event").add("a", std::string(500, 'x'), 60).text();
  EXPECT_THAT(text, EndsWith(R"( more bytes]")"));
  EXPECT_GT(std::string::size_type{80}, text.size());
}

TEST(LogLine, EscapedValueIsNotEscapedAgain) {
  EXPECT_EQ(R"(event a="CN=a\x0ab")", LogLine("event").addEscaped("a", "CN=a\\x0ab").text());
}

TEST(LogLine, EscapedValueThatIsNotFitsItsQuotesAllTheSame) {
  EXPECT_EQ(R"(event a="\x22\x0a")", LogLine("event").addEscaped("a", "\"\n").text());
}

TEST_F(LogTest, LineBearsTheProgramsName) {
  Log(LogLevel::info, out_.get(), Log::Form::plain).write(LogLevel::info, "line");
  EXPECT_EQ("trust-certmgrd: line\n", written());
}

TEST_F(LogTest, JournalGetsItsLevels) {
  const Log log(LogLevel::debug, out_.get(), Log::Form::journal);
  log.write(LogLevel::error, "e");
  log.write(LogLevel::warning, "w");
  log.write(LogLevel::info, "i");
  log.write(LogLevel::debug, "d");
  EXPECT_EQ("<3>e\n<4>w\n<6>i\n<7>d\n", written());
}

TEST_F(LogTest, LessImportantLinesAreLeftOut) {
  const Log log(LogLevel::warning, out_.get(), Log::Form::plain);
  log.write(LogLevel::info, "left out");
  log.write(LogLevel::warning, "noted");
  EXPECT_EQ("trust-certmgrd: noted\n", written());
}

TEST_F(LogTest, LineFeedInsideALineIsNone) {
  Log(LogLevel::info, out_.get(), Log::Form::plain).write(LogLevel::info, "a\nb");
  EXPECT_EQ("trust-certmgrd: a b\n", written());
}

TEST_F(LogTest, LineThatIsTooLongIsCut) {
  Log(LogLevel::info, out_.get(), Log::Form::plain)
      .write(LogLevel::info, std::string(2 * Log::kMaxLineBytes, 'x'));
  const std::string text = written();
  EXPECT_EQ(Log::kMaxLineBytes, text.size());
  EXPECT_THAT(text, EndsWith("x\n"));
}

TEST_F(LogTest, LineThatTheReaderHasNoRoomForIsLost) {
  ASSERT_EQ(0, fcntl(out_.get(), F_SETFL, O_NONBLOCK));
  std::string full;
  while (write(out_.get(), "full", 4) > 0) full += "full";
  ASSERT_EQ(0, fcntl(out_.get(), F_SETFL, 0));
  Log(LogLevel::info, out_.get(), Log::Form::plain).write(LogLevel::info, "line");
  EXPECT_TRUE(full == written());
}

TEST_F(LogTest, LineWithoutAReaderIsLostAndDoesNotEndTheProgram) {
  in_ = OwnedFd();
  Log(LogLevel::info, out_.get(), Log::Form::plain).write(LogLevel::info, "line");
  EXPECT_NE(-1, fcntl(out_.get(), F_GETFD));
}

TEST(Journal, IsWhatTheEnvironmentSaysOfTheVeryStream) {
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  const OwnedFd in(ends[0]);
  const OwnedFd out(ends[1]);
  struct stat status = {};
  ASSERT_EQ(0, fstat(out.get(), &status));
  const std::string stream = std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
  EXPECT_TRUE(isJournal(out.get(), stream.c_str()));
  EXPECT_FALSE(isJournal(out.get(), (stream + "0").c_str()));
}

TEST(Journal, IsNotThereWithoutTheVariable) {
  EXPECT_FALSE(isJournal(STDERR_FILENO, nullptr));
}

}  // namespace
