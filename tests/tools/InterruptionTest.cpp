#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "tests/support/SendSignal.h"
#include "tests/support/SlowBuild.h"
#include "tests/tools/SilentService.h"
#include "tests/tools/TrustctlFixture.h"

namespace {

// The end of each of these tests checks that no process and no file is left.
class Interrupted : public AuthorityTest {
 protected:
  // A service program that writes its process number into `announcement_` and goes on with
  // `rest`.
  std::string announcingService(const std::string& rest) {
    EXPECT_EQ(0, mkfifo(announcement_.c_str(), 0600));
    return script("echo $$ > '" + announcement_ + "'\n" + rest);
  }

  // Waits until the service program of the run has started.
  void awaitServiceStart() {
    std::string number;
    std::ifstream(announcement_) >> number;
    EXPECT_NE("", number);
  }

  std::string announcement_ = directory_.path("announcement");
};

class InterruptedBy : public Interrupted, public testing::WithParamInterface<int> {};

TEST_P(InterruptedBy, ASignalDuringTheVerificationDiesOfIt) {
  SilentService service(directory_.path("run"));
  environment_["PPS_RUNTIME_DIR"] = directory_.path("run");
  const pid_t child = start({"verify", chainFile_});
  service.awaitRequest();
  ASSERT_EQ(0, sendSignal(child, GetParam()));
  const ProgramRun result = finish(child);
  EXPECT_EQ(-GetParam(), result.status);
  EXPECT_EQ("", result.out);
  // The emulator has a word to say where a core could be dumped.
  if (!kEmulated || GetParam() != SIGQUIT) {
    EXPECT_EQ("", result.err);
  }
}

TEST_P(InterruptedBy, ASignalDuringTheStartOfPrivateServicesDiesOfIt) {
  environment_["TRUST_CERTMGRD"] = announcingService("exec sleep 1000\n");
  const pid_t child = start({"verify", chainFile_});
  awaitServiceStart();
  ASSERT_EQ(0, sendSignal(child, GetParam()));
  EXPECT_EQ(-GetParam(), finish(child).status);
}

INSTANTIATE_TEST_SUITE_P(Signals, InterruptedBy, testing::Values(SIGINT, SIGTERM, SIGHUP, SIGQUIT));

TEST_F(Interrupted, ByASignalBeforeAServiceThatIgnoresItAllTheSame) {
  environment_["TRUST_CERTMGRD"] = announcingService("trap '' TERM INT HUP\nexec sleep 1000\n");
  const pid_t child = start({"verify", chainFile_});
  awaitServiceStart();
  ASSERT_EQ(0, sendSignal(child, SIGINT));
  EXPECT_EQ(-SIGINT, finish(child).status);
}

TEST_F(Interrupted, ByAHangupThatIsIgnoredGoesOn) {
  SilentService service(directory_.path("run"));
  environment_["PPS_RUNTIME_DIR"] = directory_.path("run");
  ASSERT_NE(SIG_ERR, signal(SIGHUP, SIG_IGN));
  const pid_t child = start({"verify", "--timeout", "1", chainFile_});
  ASSERT_NE(SIG_ERR, signal(SIGHUP, SIG_DFL));
  service.awaitRequest();
  ASSERT_EQ(0, sendSignal(child, SIGHUP));
  EXPECT_EQ(3, finish(child).status);
}

// The service must then notice by itself and clear up, even where it has hardly begun.
TEST_F(Interrupted, ByAKillLeavesTheClearingToTheService) {
  environment_["TRUST_CERTMGRD"] = announcingService("exec '" CERTMGRD_PROGRAM "' \"$@\"\n");
  const pid_t child = start({"verify", chainFile_});
  awaitServiceStart();
  ASSERT_EQ(0, sendSignal(child, SIGKILL));
  EXPECT_EQ(-SIGKILL, finish(child).status);
  awaitOrphans();
}

// The program is held before it can ask anything, so that the kill finds both running.
TEST_F(Interrupted, ByAKillWhileTheServiceListensLeavesTheClearingToIt) {
  environment_["TRUST_CERTMGRD"] =
      announcingService("kill -STOP $PPID\nexec '" CERTMGRD_PROGRAM "' \"$@\"\n");
  const pid_t child = start({"verify", chainFile_});
  awaitServiceStart();
  awaitControlObjectBelow(temporary_);
  ASSERT_EQ(0, sendSignal(child, SIGKILL));
  EXPECT_EQ(-SIGKILL, finish(child).status);
  awaitOrphans();
}

}  // namespace
