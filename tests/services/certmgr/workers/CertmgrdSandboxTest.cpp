// What workers of the real program have given up.
#include <unistd.h>

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/services/certmgr/workers/IsolationFixture.h"

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* kFilter = "2";

class CertmgrdSandboxTest : public CertmgrdIsolationTest {
 protected:
  bool offers(const std::string& part) const {
    return service_->errors().find("does not offer") == std::string::npos ||
           service_->errors().find(part) == std::string::npos;
  }
};

TEST_F(CertmgrdSandboxTest, WorkerCannotGainRights) {
  EXPECT_EQ("1", statusOf(startWithOneWorker(), "NoNewPrivs"));
}

TEST_F(CertmgrdSandboxTest, SystemCallsOfAWorkerAreFiltered) {
  const pid_t worker = startWithOneWorker();
  if (!offers("seccomp")) GTEST_SKIP() << service_->errors();
  EXPECT_EQ(kFilter, statusOf(worker, "Seccomp"));
}

TEST_F(CertmgrdSandboxTest, SystemCallsOfAServiceOfOneProcessAreFiltered) {
  start({"--no-system-anchors", "--in-process"});
  if (!offers("seccomp")) GTEST_SKIP() << service_->errors();
  EXPECT_EQ(kFilter, statusOf(service_->pid(), "Seccomp"));
}

TEST_F(CertmgrdSandboxTest, WorkerIsNotRestrictedWhereThatIsSwitchedOff) {
  const pid_t worker = startWithOneWorker({"--no-sandbox"});
  EXPECT_EQ(statusOf(getpid(), "Seccomp"), statusOf(worker, "Seccomp"));
  EXPECT_EQ(statusOf(getpid(), "NoNewPrivs"), statusOf(worker, "NoNewPrivs"));
}

TEST_F(CertmgrdSandboxTest, WorkerOfRootMayReadAndActForOthersAndNoMore) {
  if (geteuid() != 0) GTEST_SKIP() << "only root has capabilities";
  const std::string before = statusOf(getpid(), "CapEff");
  const unsigned long long kept = 1U << 2 | 1U << 6 | 1U << 7;  // read all, set group, set user
  const pid_t worker = startWithOneWorker();
  EXPECT_EQ(std::stoull(before, nullptr, 16) & kept,
            std::stoull(statusOf(worker, "CapPrm"), nullptr, 16));
}

TEST_F(CertmgrdSandboxTest, RestrictedWorkerFollowsItsStore) {
  startWithOneWorker();
  const TestCertificate other = CertificateMaker("Other").asCa().make();
  const std::string text = request(
      {write("other.der", CertificateMaker("b.example").asServer().issuedBy(other).make())});
  EXPECT_THAT(ask(text), HasSubstr("NO_TRUSTED"));
  addToHashedDirectory(store_, other);
  EXPECT_THAT(ask(text), HasSubstr("\"VALID\""));
}

TEST_F(CertmgrdSandboxTest, NothingIsComplainedOfWhereAllIsOffered) {
  startWithOneWorker({"--log-level=error"});
  if (!offers("seccomp") || !offers("Landlock")) GTEST_SKIP() << service_->errors();
  EXPECT_THAT(service_->errors(), Not(HasSubstr("going on without")));
}

}  // namespace
