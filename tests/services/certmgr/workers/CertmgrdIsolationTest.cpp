// Workers of the real program that die, hang or run out of something.
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/services/certmgr/workers/IsolationFixture.h"
#include "tests/support/SendSignal.h"
#include "tests/support/SlowBuild.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct Death {
  const char* name;
  int signal;
};

class DyingWorkerTest : public CertmgrdIsolationTest, public testing::WithParamInterface<Death> {
 protected:
  // Lets a worker die over a request while another one is asked, and gives both answers.
  std::vector<std::string> answersAroundADeath() {
    const pid_t worker = startWithOneWorker({"--workers=2"});
    sendSignal(worker, SIGSTOP);
    const OwnedFd clients[] = {send(text_), send(text_)};
    // One of the two is with the stopped worker, and so the other one must be answered.
    pollfd events[] = {{clients[0].get(), POLLIN, 0}, {clients[1].get(), POLLIN, 0}};
    poll(events, 2, -1);
    const size_t quick = events[0].revents != 0 ? 0 : 1;
    std::vector<std::string> answers = {receive(clients[quick])};
    sendSignal(worker, GetParam().signal);
    sendSignal(worker, SIGCONT);
    answers.push_back(receive(clients[1 - quick]));
    return answers;
  }
};

TEST_P(DyingWorkerTest, OtherRequestsGoOn) {
  EXPECT_THAT(answersAroundADeath().front(), HasSubstr(kValid));
}

TEST_P(DyingWorkerTest, ItsOwnRequestIsAnError) {
  EXPECT_THAT(answersAroundADeath().back(),
              StartsWith("err::the process that worked on this request "));
}

TEST_P(DyingWorkerTest, RequestsAfterwardsAreAnswered) {
  answersAroundADeath();
  EXPECT_THAT(ask(text_), HasSubstr(kValid));
}

INSTANTIATE_TEST_SUITE_P(Deaths, DyingWorkerTest,
                         testing::Values(Death{"Crash", SIGSEGV}, Death{"Kill", SIGKILL}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(CertmgrdIsolationTest, WorkerThatDiesWithoutARequestCostsNone) {
  const pid_t worker = startWithOneWorker();
  const WatchedProcess watched(worker);
  if (!watched.canBeWatched()) GTEST_SKIP() << "the kernel has no descriptors of processes";
  sendSignal(worker, SIGKILL);
  watched.awaitEnd();
  EXPECT_THAT(ask(text_), HasSubstr(kValid));
}

TEST_F(CertmgrdIsolationTest, OneClientAfterTheOtherIsServedByOneWorker) {
  const pid_t worker = startWithOneWorker({"--workers=4"});
  for (int i = 0; i < 8; ++i) ask(text_);
  EXPECT_EQ(std::vector<pid_t>{worker}, workers());
}

TEST_F(CertmgrdIsolationTest, WorkerPastTheDeadlineIsAnError) {
  const pid_t worker = startWithOneWorker({"--deadline=1"});
  sendSignal(worker, SIGSTOP);
  EXPECT_THAT(ask(text_), StartsWith("err::there is no verdict within the time"));
}

TEST_F(CertmgrdIsolationTest, WorkerPastTheDeadlineIsReplaced) {
  const pid_t worker = startWithOneWorker({"--deadline=1"});
  sendSignal(worker, SIGSTOP);
  ask(text_);
  awaitVerdict();
  EXPECT_THAT(workers(), Not(Contains(worker)));
}

TEST_F(CertmgrdIsolationTest, RequestThatNoWorkerAnsweredIsCountedAsAnError) {
  const pid_t worker = startWithOneWorker({"--deadline=1"});
  const int before = errorsAnswered();
  sendSignal(worker, SIGSTOP);
  ask(text_);
  EXPECT_EQ(before + 1, errorsAnswered());
}

TEST_F(CertmgrdIsolationTest, CountersGoOnWhereAWorkerIsReplaced) {
  const pid_t worker = startWithOneWorker();
  const WatchedProcess watched(worker);
  if (!watched.canBeWatched()) GTEST_SKIP() << "the kernel has no descriptors of processes";
  sendSignal(worker, SIGKILL);
  watched.awaitEnd();
  ask(text_);
  EXPECT_THAT(ask("msg::getcounters\nid::1\n"), HasSubstr(R"("valid":"2")"));
}

// One that is traced cannot be waited for by its parent before its tracer has done so: as when
// the kernel holds on to a process.
TEST_F(CertmgrdIsolationTest, WorkerThatCannotEndKeepsNoAnswerBack) {
  const pid_t worker = startWithOneWorker({"--deadline=1", "--workers=1", "--no-sandbox"});
  if (ptrace(PTRACE_SEIZE, worker, nullptr, nullptr) != 0) GTEST_SKIP() << "nobody may trace here";
  sendSignal(worker, SIGSTOP);
  EXPECT_THAT(ask(text_), StartsWith("err::there is no verdict within the time"));
  awaitVerdict();
  int status = 0;
  while (waitpid(worker, &status, __WALL) == worker && WIFSTOPPED(status)) {
  }
}

// However many hang, nobody waits for more than one deadline.
TEST_F(CertmgrdIsolationTest, RequestThatFoundNoWorkerInTimeIsAnError) {
  const pid_t worker = startWithOneWorker({"--deadline=1", "--workers=1"});
  sendSignal(worker, SIGSTOP);
  const OwnedFd first = send(text_);
  const OwnedFd second = send(text_);
  EXPECT_THAT(receive(first), StartsWith("err::"));
  EXPECT_NE("", receive(second));
  awaitVerdict();
}

TEST_F(CertmgrdIsolationTest, SignalsThatEndTheServiceDoNotEndAWorker) {
  const pid_t worker = startWithOneWorker();
  sendSignal(worker, SIGINT);
  sendSignal(worker, SIGTERM);
  sendSignal(worker, SIGHUP);
  EXPECT_THAT(ask(text_), HasSubstr(kValid));
  EXPECT_EQ(std::vector<pid_t>{worker}, workers());
}

TEST_F(CertmgrdIsolationTest, WorkersEndWithTheService) {
  const pid_t worker = startWithOneWorker();
  EXPECT_EQ(0, service_->end(SIGTERM));
  EXPECT_EQ(-1, sendSignal(worker, 0));
  EXPECT_EQ(ESRCH, errno);
}

TEST_F(CertmgrdIsolationTest, WorkerThatHangsEndsWithAServiceThatIsKilled) {
  const pid_t worker = startWithOneWorker();
  const WatchedProcess watched(worker);
  if (!watched.canBeWatched()) GTEST_SKIP() << "the kernel has no descriptors of processes";
  sendSignal(worker, SIGSTOP);
  service_->end(SIGKILL);
  watched.awaitEnd();
}

// Whoever holds the socket that the service listens on keeps its place taken.
TEST_F(CertmgrdIsolationTest, WorkerHasNoSocketOfTheServices) {
  const pid_t worker = startWithOneWorker({"--no-sandbox"});
  std::set<std::string> shared = socketsOf(worker);
  const std::set<std::string> services = socketsOf(service_->pid());
  ASSERT_FALSE(services.empty());
  for (const std::string& inherited : socketsOf(getpid())) shared.erase(inherited);
  for (const std::string& socket : shared) EXPECT_EQ(0U, services.count(socket)) << socket;
}

TEST_F(CertmgrdIsolationTest, HangupEndsNeitherTheServiceNorItsWorkers) {
  const pid_t worker = startWithOneWorker();
  sendSignal(service_->pid(), SIGHUP);
  EXPECT_THAT(ask(text_), HasSubstr(kValid));
  EXPECT_EQ(std::vector<pid_t>{worker}, workers());
}

TEST_F(CertmgrdIsolationTest, HangupDoesNotEndAServiceOfOneProcess) {
  start({"--no-system-anchors", "--in-process"});
  sendSignal(service_->pid(), SIGHUP);
  EXPECT_THAT(ask(text_), HasSubstr(kValid));
  EXPECT_EQ(std::vector<pid_t>{}, workers());
}

TEST_F(CertmgrdIsolationTest, PrivateServiceIsOneProcess) {
  service_ = std::make_unique<ServiceProcess>(std::vector<std::string>{
      "--ephemeral", "--runtime-dir=" + files_.path("run"), "--no-system-anchors"});
  ASSERT_TRUE(service_->isReady()) << service_->errors();
  EXPECT_NE("", ask(text_));
  EXPECT_EQ(std::vector<pid_t>{}, workers());
}

// Leaves room for one more client and not for the socket to a worker.
TEST_F(CertmgrdIsolationTest, ServiceOutOfDescriptorsSaysSoAndGoesOnLater) {
  if (kSanitized) GTEST_SKIP() << "the sanitizer takes descriptors of its own and fails without";
  start();
  const std::filesystem::path open = "/proc/" + std::to_string(service_->pid()) + "/fd";
  int next = 0;
  while (std::filesystem::exists(std::filesystem::symlink_status(open / std::to_string(next)))) {
    ++next;
  }
  rlimit before = {};
  ASSERT_EQ(0, prlimit(service_->pid(), RLIMIT_NOFILE, nullptr, &before));
  const rlimit tight = {static_cast<rlim_t>(next) + 1, before.rlim_max};
  ASSERT_EQ(0, prlimit(service_->pid(), RLIMIT_NOFILE, &tight, nullptr));
  EXPECT_THAT(ask(text_), StartsWith("err::cannot start a worker process: Too many open files"));
  ASSERT_EQ(0, prlimit(service_->pid(), RLIMIT_NOFILE, &before, nullptr));
  EXPECT_THAT(ask(text_), HasSubstr(kValid));
}

TEST_F(CertmgrdIsolationTest, WorkerWithoutMemoryStillAnswers) {
  if (kSanitized) GTEST_SKIP() << "the sanitizer takes its memory in advance";
  const pid_t worker = startWithOneWorker();
  const rlimit none = {1, RLIM_INFINITY};
  ASSERT_EQ(0, prlimit(worker, RLIMIT_AS, &none, nullptr));
  files_.write("stores/big/class/00000000.0", std::string(8UL * 1024 * 1024, 'x'));
  EXPECT_NE("", ask(request({files_.path("leaf.der")}, "big", "class")));
  EXPECT_NE("", ask(text_));
}

TEST_F(CertmgrdIsolationTest, NothingIsLeftOfAFileThatAKilledWorkerWasWriting) {
  startWithOneWorker();
  files_.write("run/services/certmgr/chain/00.der.1-1.tmp", "half a");
  EXPECT_EQ(0, service_->end(SIGTERM));
  EXPECT_FALSE(std::filesystem::exists(files_.path("run/services")));
}

TEST_F(CertmgrdIsolationTest, WorkerIsGivenUpBeforeTheServiceWhereMemoryRunsOut) {
  const pid_t worker = startWithOneWorker();
  const auto readiness = [](pid_t process) {
    int value = 0;
    std::ifstream("/proc/" + std::to_string(process) + "/oom_score_adj") >> value;
    return value;
  };
  EXPECT_GT(readiness(worker), readiness(service_->pid()));
}

}  // namespace
