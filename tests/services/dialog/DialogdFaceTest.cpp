// The real program and its faces: what becomes of a terminal, and what counts as an answer.
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "tests/services/dialog/DialogdFixture.h"
#include "tests/support/SlowBuild.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kUsualState = "\x1b[0m\x1b[?25h\x1b[?1049l";

struct Script {
  const char* script;
  const char* answer;
};

class DialogdFace : public DialogdTest, public testing::WithParamInterface<Script> {};

TEST_P(DialogdFace, DecidesByItsWordAndItsEnd) {
  startWithFace(GetParam().script);
  EXPECT_THAT(askThere(request()), HasSubstr(GetParam().answer));
}

INSTANTIATE_TEST_SUITE_P(Answers, DialogdFace,
                         testing::Values(Script{"echo decline", kDeclined},
                                         Script{"echo once", kOnce}, Script{"echo always", kAlways},
                                         Script{"printf on; printf 'ce\\n'", kOnce}));

INSTANTIATE_TEST_SUITE_P(
    NoAnswers, DialogdFace,
    testing::Values(Script{"", kDeclined}, Script{"exit 0", kDeclined},
                    Script{"echo once; exit 1", kDeclined},
                    Script{"echo once; kill -SEGV $$", kDeclined},
                    Script{"echo once; kill -KILL $$", kDeclined}, Script{"printf once", kDeclined},
                    Script{"echo Once", kDeclined}, Script{"echo ' once'", kDeclined},
                    Script{"echo once; echo once", kDeclined}, Script{"echo maybe", kDeclined},
                    Script{"printf 'once\\000\\n'", kDeclined},
                    Script{"printf 'once\\r\\n'", kDeclined}, Script{"echo; echo once", kDeclined},
                    Script{"exec yes once", kDeclined}));

TEST_F(DialogdTest, KilledFaceIsNoAnswerWhereChildrenAreNotWaitedFor) {
  startThroughShell("trap '' CHLD", "echo once; kill -KILL $$\n");
  EXPECT_THAT(askThere(request()), HasSubstr(kDeclined));
}

TEST_F(DialogdTest, AnswerIsReadWhereStandardInputAndOutputAreClosed) {
  startThroughShell("exec <&- >&-", "cat > $dir/model; echo once\n");
  EXPECT_THAT(askThere(request()), HasSubstr(kOnce));
  EXPECT_THAT(contentOf("model"), StartsWith("{"));
}

TEST_F(DialogdTest, FaceIsToldTheTerminalOfTheAsker) {
  startWithFace("echo \"$# $1 $2\" > $dir/arguments\n");
  askThere(request());
  EXPECT_EQ("2 --tty " + terminal_.path() + "\n", contentOf("arguments"));
}

TEST_F(DialogdTest, FaceReadsTheModelToItsEnd) {
  startWithFace("cat > $dir/model\n", {"--timeout=77"});
  askThere(request("shown.test"));
  EXPECT_THAT(contentOf("model"), AllOf(StartsWith("{\"title\":"), HasSubstr("shown.test"),
                                        HasSubstr("\"timeoutSeconds\":77}")));
}

TEST_F(DialogdTest, FaceThatReadsNothingCanAnswer) {
  startWithFace("exec < /dev/null\necho once\n");
  EXPECT_THAT(askThere(request()), HasSubstr(kOnce));
}

TEST_F(DialogdTest, FaceLeadsASessionWithoutATerminal) {
  startWithFace("cut -d ' ' -f 6,7 /proc/$$/stat > $dir/session; echo $$ > $dir/process\n");
  askThere(request());
  const std::string process = contentOf("process");
  EXPECT_EQ(process.substr(0, process.size() - 1) + " 0\n", contentOf("session"));
}

TEST_F(DialogdTest, FaceInheritsNoDescriptorsButTheStandardOnes) {
  startWithFace("exec ls /proc/self/fd > $dir/descriptors\n");
  askThere(request());
  // The last one is that of the folder it looks at.
  EXPECT_EQ("0\n1\n2\n3\n", contentOf("descriptors"));
}

TEST_F(DialogdTest, NothingElseOfTheEnvironmentReachesTheFace) {
  setenv("LD_LIBRARY_PATH_OF_NOBODY", "1", 1);
  startWithFace("env > $dir/environment\n");
  askThere(request());
  EXPECT_THAT(contentOf("environment"),
              AllOf(HasSubstr("PATH="), Not(HasSubstr("HOME=")), Not(HasSubstr("OF_NOBODY"))));
}

TEST_F(DialogdTest, NoColourOfTheServiceReachesTheFace) {
  setenv("NO_COLOR", "1", 1);
  startWithFace("echo \"$3\" > $dir/third\n");
  askThere(request());
  EXPECT_EQ("--no-colour\n", contentOf("third"));
}

TEST_F(DialogdTest, AskerWithoutATerminalIsDeclined) {
  startWithFace("echo once\n");
  EXPECT_THAT(ask(request()), HasSubstr(kDeclined));
}

TEST_F(DialogdTest, AskerInTheBackgroundIsDeclined) {
  startWithFace("echo once\n");
  DialogAsker::Options options = onTerminal();
  options.background = true;
  EXPECT_THAT(DialogAsker(request(), options).answer(), HasSubstr(kDeclined));
}

// What is typed from then on is meant for whoever is in the foreground.
TEST_F(DialogdTest, DialogOfAnAskerWhoLosesTheForegroundIsTakenDownAndDeclined) {
  startWithFace("trap 'echo ended > $up; exit' TERM\necho shown > $up\ncat $go & wait\n");
  Fifo displacing(files_.path("displacing"));
  DialogAsker::Options options = onTerminal();
  options.displacing = displacing.path();
  DialogAsker asker(request(), options);
  EXPECT_EQ("shown", up_.readLine());
  displacing.writeLine("now");
  EXPECT_EQ("ended", up_.readLine());
  EXPECT_THAT(asker.answer(), HasSubstr(kDeclined));
}

TEST_F(DialogdTest, TerminalOfTheServiceServesAskersWithoutOne) {
  if (kEmulated) GTEST_SKIP() << "the emulator hides from a process which terminal it has";
  startWithFace("echo \"$2\" > $dir/terminal; echo once\n", {}, terminal_.path());
  EXPECT_THAT(ask(request()), HasSubstr(kOnce));
  EXPECT_EQ(terminal_.path() + "\n", contentOf("terminal"));
}

TEST_F(DialogdTest, OwnTerminalOfTheAskerComesFirst) {
  const PseudoTerminal other(geteuid());
  startWithFace("echo \"$2\" > $dir/terminal; echo once\n", {}, other.path());
  EXPECT_THAT(askThere(request()), HasSubstr(kOnce));
  EXPECT_EQ(terminal_.path() + "\n", contentOf("terminal"));
}

TEST_F(DialogdTest, DialogIsDeclinedAfterTheTimeout) {
  startWithFace("cat $go\necho once\n", {"--timeout=1"});
  EXPECT_THAT(askThere(request()), HasSubstr(kDeclined));
}

TEST_F(DialogdTest, FaceIsAskedToEndAfterTheTimeout) {
  startWithFace("trap 'echo ended > $up; echo once; exit 0' TERM\ncat $go & wait\n",
                {"--timeout=1"});
  EXPECT_THAT(askThere(request()), HasSubstr(kDeclined));
  EXPECT_EQ("ended", up_.readLine());
}

TEST_F(DialogdTest, FaceThatDoesNotEndIsKilled) {
  startWithFace("trap '' TERM\ncat $go\necho once\n", {"--timeout=1"});
  EXPECT_THAT(askThere(request()), HasSubstr(kDeclined));
  EXPECT_THAT(terminal_.drawn(), HasSubstr(kUsualState));
}

TEST_F(DialogdTest, WhatAFaceLeavesRunningIsKilled) {
  const std::string path = files_.path("alive");
  ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
  const int alive = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  startWithFace("exec 5> $dir/alive; (trap '' TERM HUP; exec sleep 1000) & echo once\n");
  EXPECT_THAT(askThere(request()), HasSubstr(kOnce));
  pollfd event = {alive, POLLIN, 0};
  EXPECT_EQ(1, poll(&event, 1, 60000));  // hangs up when the last who had it open has ended
  close(alive);
}

TEST_F(DialogdTest, TerminalOfAFaceThatCrashedIsRestored) {
  const termios before = terminal_.settings();
  startWithFace("stty raw -echo < \"$2\"; printf '\\033[?1049h' > \"$2\"; kill -SEGV $$\n");
  askThere(request());
  const termios after = terminal_.settings();
  EXPECT_EQ(before.c_lflag, after.c_lflag);
  EXPECT_EQ(before.c_iflag, after.c_iflag);
  EXPECT_EQ(before.c_oflag, after.c_oflag);
  EXPECT_EQ(0, memcmp(before.c_cc, after.c_cc, sizeof before.c_cc));
  EXPECT_EQ(std::string("\x1b[?1049h") + kUsualState, terminal_.drawn());
}

TEST_F(DialogdTest, TerminalOfAFaceThatForgotToRestoreItIsRestored) {
  const termios before = terminal_.settings();
  startWithFace("stty -echo < \"$2\"; echo once\n");
  askThere(request());
  EXPECT_EQ(before.c_lflag, terminal_.settings().c_lflag);
}

TEST_F(DialogdTest, WhatWasTypedIntoACrashedFaceReachesNobodyElse) {
  startWithFace("stty raw < \"$2\"; echo shown > $up; read word < $go; kill -KILL $$\n");
  DialogAsker asker(request(), onTerminal());
  up_.readLine();
  terminal_.type("rm -r precious\n");
  go_.writeLine("now");
  asker.answer();
  EXPECT_EQ(0, terminal_.typedAhead());
}

TEST_F(DialogdTest, NothingIsDrawnAfterAFaceThatEndedInOrder) {
  startWithFace("echo once\n");
  askThere(request());
  EXPECT_EQ("", terminal_.drawn());
}

TEST_F(DialogdTest, TerminationTakesTheDialogDownAndDeclines) {
  startWithFace("stty raw < \"$2\"; echo shown > $up; cat $go\n");
  const termios before = terminal_.settings();
  DialogAsker asker(request(), onTerminal());
  up_.readLine();
  EXPECT_EQ(0, service_->end(SIGTERM));
  EXPECT_THAT(asker.answer(), HasSubstr(kDeclined));
  EXPECT_EQ(before.c_lflag, terminal_.settings().c_lflag);
  EXPECT_THAT(terminal_.drawn(), HasSubstr(kUsualState));
}

}  // namespace
