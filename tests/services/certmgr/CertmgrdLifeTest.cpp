// How the real program starts and ends.
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/services/certmgr/CertmgrdFixture.h"
#include "tests/support/SendSignal.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST_F(CertmgrdTest, SignalsThatGoOnDoNotCutTheCleaningUpShort) {
  const std::string runtime = files_.path("private");
  ServiceProcess service({"--ephemeral", "--runtime-dir=" + runtime});
  ASSERT_TRUE(service.isReady()) << service.errors();
  std::atomic<bool> ended{false};
  std::thread sender([&, pid = service.pid()] {
    while (!ended) sendSignal(pid, SIGTERM);
  });
  siginfo_t info{};  // leaves the child to be waited for, so that its number stays its own
  waitid(P_PID, static_cast<id_t>(service.pid()), &info, WEXITED | WNOWAIT);
  ended = true;
  sender.join();
  EXPECT_EQ(0, service.wait());
  EXPECT_FALSE(std::filesystem::exists(runtime));
}

TEST_F(CertmgrdTest, FileOfTheCommandLineThatIsDamagedOrOfNoUseIsRefused) {
  const std::string crl = CrlMaker(root).pem();
  const std::string cut = files_.write("cut.pem", crl + crl.substr(0, crl.size() / 2));
  const std::string bad = files_.write(
      "bad.pem", crl + "-----BEGIN X509 CRL-----\nAAAA\n-----END X509 CRL-----\n" + crl);
  for (const std::string& option :
       {"--crlfile=" + cut, "--crlfile=" + bad, "--crlfile=" + files_.write("root.pem", root.pem()),
        "--cafile=" + files_.write("crl.pem", crl)}) {
    ServiceProcess service({option});
    EXPECT_EQ(1, service.wait()) << option;
    EXPECT_THAT(service.errors(), StartsWith("trust-certmgrd: the file "));
  }
}

TEST_F(CertmgrdTest, TerminationLeavesNothingBehind) {
  addToHashedDirectory(store_, root);
  std::filesystem::create_directory(files_.path("run"));
  start();
  ask(request({write("leaf.der", leafByRoot())}));
  EXPECT_EQ(0, service_->end(SIGTERM));
  EXPECT_TRUE(std::filesystem::is_empty(files_.path("run")));
}

TEST_F(CertmgrdTest, SecondServiceIsRefusedOnOneLine) {
  start();
  ServiceProcess second({"--no-system-anchors"});
  EXPECT_FALSE(second.isReady());
  EXPECT_EQ(1, second.wait());
  EXPECT_EQ("trust-certmgrd: another service is already listening on " +
                files_.path("run/services/certmgr/control") + "\n",
            second.errors());
}

TEST_F(CertmgrdTest, EphemeralServiceRemovesItsRuntimeDirectory) {
  const std::string runtime = files_.path("private");
  ServiceProcess service({"--ephemeral", "--runtime-dir=" + runtime});
  ASSERT_TRUE(service.isReady()) << service.errors();
  EXPECT_EQ(0, service.end(SIGTERM));
  EXPECT_FALSE(std::filesystem::exists(runtime));
}

TEST_F(CertmgrdTest, EphemeralServiceRefusesADirectoryWithContentAndLeavesIt) {
  const std::string precious = files_.write("home/precious", "content");
  ServiceProcess service({"--ephemeral", "--runtime-dir=" + files_.path("home")});
  EXPECT_EQ(1, service.wait());
  EXPECT_THAT(service.errors(), HasSubstr("is not empty"));
  EXPECT_TRUE(std::filesystem::exists(precious));
}

TEST_F(CertmgrdTest, EphemeralServiceEndsWithItsParent) {
  const std::string runtime = files_.path("private");
  EXPECT_TRUE(endsWithItsParent([&] {
    return std::make_unique<ServiceProcess>(
        std::vector<std::string>{"--ephemeral", "--runtime-dir=" + runtime});
  }));
  EXPECT_FALSE(std::filesystem::exists(runtime));
}

TEST_F(CertmgrdTest, WrongUseIsOneLineAndStatusTwo) {
  ServiceProcess service({"--no-such-option"});
  EXPECT_EQ(2, service.wait());
  EXPECT_THAT(service.errors(), StartsWith("trust-certmgrd: "));
}

TEST_F(CertmgrdTest, TimeThatIsNoneIsRefused) {
  ServiceProcess service({"--verification-time=yesterday"});
  EXPECT_EQ(2, service.wait());
  EXPECT_THAT(service.errors(), HasSubstr("not a time: \"yesterday\""));
}

}  // namespace
