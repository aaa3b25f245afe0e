// The real program and several requests at a time.
#include <memory>
#include <string>
#include <vector>

#include "tests/services/dialog/DialogdFixture.h"

namespace {

using testing::HasSubstr;

constexpr const char* kAskingFace =
    "tr ',' '\\n' | grep -o '[a-z0-9]*[.]test' | head -n 1 > $up\nread word < $go\necho $word\n";

TEST_F(DialogdTest, ThirtyClientsWithOneQuestionGetOneDialog) {
  startWithFace(kAskingFace, {"--verbose"});
  std::vector<std::unique_ptr<PseudoTerminal>> terminals;
  std::vector<std::unique_ptr<DialogAsker>> askers;
  for (int i = 0; i < 30; ++i) {
    terminals.push_back(std::make_unique<PseudoTerminal>(geteuid()));
    DialogAsker::Options options;
    options.terminal = terminals.back()->path();
    askers.push_back(std::make_unique<DialogAsker>(request(), options));
  }
  waitUntilSaid("that wait: 30\n");
  EXPECT_EQ("a.test", up_.readLine());
  go_.writeLine("always");
  for (const auto& asker : askers) EXPECT_THAT(asker->answer(), HasSubstr(kAlways));
  EXPECT_TRUE(up_.isEmpty());
}

TEST_F(DialogdTest, OtherQuestionIsShownAfterTheFirst) {
  startWithFace(kAskingFace, {"--verbose"});
  DialogAsker first(request("first.test"), onTerminal());
  EXPECT_EQ("first.test", up_.readLine());
  const PseudoTerminal other(geteuid());
  DialogAsker::Options options;
  options.terminal = other.path();
  DialogAsker second(request("second.test"), options);
  waitUntilSaid("that wait: 2\n");
  EXPECT_TRUE(up_.isEmpty());
  go_.writeLine("once");
  EXPECT_THAT(first.answer(), HasSubstr(kOnce));
  EXPECT_EQ("second.test", up_.readLine());
  go_.writeLine("decline");
  EXPECT_THAT(second.answer(), HasSubstr(kDeclined));
}

TEST_F(DialogdTest, SameChainInAnotherFileIsTheSameQuestion) {
  startWithFace(kAskingFace, {"--verbose"});
  DialogAsker first(request(), onTerminal());
  up_.readLine();
  DialogAsker second(request("a.test", files_.write("copy.der", contentOf("leaf.der"))), {});
  waitUntilSaid("that wait: 2\n");
  go_.writeLine("once");
  EXPECT_THAT(second.answer(), HasSubstr(kOnce));
}

TEST_F(DialogdTest, ClientThatGivesUpTakesItsDialogDown) {
  startWithFace("trap 'echo ended > $up; exit' TERM\necho shown > $up\ncat $go & wait\n");
  DialogAsker asker(request(), onTerminal());
  EXPECT_EQ("shown", up_.readLine());
  asker.giveUp();
  EXPECT_EQ("ended", up_.readLine());
}

TEST_F(DialogdTest, DialogOfAClientThatGaveUpIsShownAnewForTheNext) {
  startWithFace("echo $2 > $up\nread word < $go\necho $word\n", {"--verbose"});
  DialogAsker first(request(), onTerminal());
  EXPECT_EQ(terminal_.path(), up_.readLine());
  const PseudoTerminal other(geteuid());
  DialogAsker::Options options;
  options.terminal = other.path();
  DialogAsker second(request(), options);
  waitUntilSaid("that wait: 2\n");
  first.giveUp();
  EXPECT_EQ(other.path(), up_.readLine());
  go_.writeLine("once");
  EXPECT_THAT(second.answer(), HasSubstr(kOnce));
}

TEST_F(DialogdTest, ClientThatGivesUpLeavesNothingForTheNextQuestion) {
  startWithFace("echo shown > $up\nread word < $go\necho $word\n");
  {
    DialogAsker asker(request(), onTerminal());
    up_.readLine();
  }
  const PseudoTerminal other(geteuid());
  DialogAsker::Options options;
  options.terminal = other.path();
  DialogAsker next(request("next.test"), options);
  up_.readLine();
  go_.writeLine("always");
  EXPECT_THAT(next.answer(), HasSubstr(kAlways));
}

TEST_F(DialogdTest, TerminationDeclinesThoseWhoWaitToo) {
  startWithFace("echo shown > $up\ncat $go\n", {"--verbose"});
  DialogAsker shown(request(), onTerminal());
  up_.readLine();
  const PseudoTerminal other(geteuid());
  DialogAsker::Options options;
  options.terminal = other.path();
  DialogAsker queued(request("queued.test"), options);
  DialogAsker joined(request(), {});
  waitUntilSaid("that wait: 3\n");
  EXPECT_EQ(0, service_->end(SIGTERM));
  EXPECT_THAT(shown.answer(), HasSubstr(kDeclined));
  EXPECT_THAT(queued.answer(), HasSubstr(kDeclined));
  EXPECT_THAT(joined.answer(), HasSubstr(kDeclined));
}

}  // namespace
