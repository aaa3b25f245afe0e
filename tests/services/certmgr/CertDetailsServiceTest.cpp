#include "services/certmgr/CertDetailsService.h"

#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/CertificateMaker.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

class CertDetailsServiceTest : public testing::Test {
 protected:
  CertDetailsServiceTest()
      : root_(CertificateMaker("Root").asCa().make()),
        leaf_(files_.write("leaf.der", CertificateMaker("leaf.example")
                                           .asServer()
                                           .dns("leaf.example")
                                           .issuedBy(root_)
                                           .make()
                                           .derString())),
        counters_(Counters::create()),
        records_(Log(LogLevel::info, log_.get(), Log::Form::plain),
                 Counters::attach(dup(counters_.fd()))),
        chains_(files_.path("chain")),
        service_({files_.path("trust/stores")}, chains_.path(), {}, records_) {
    addToHashedDirectory(files_.path("trust/stores/common/all"), root_);
  }

  std::string ask() {
    ControlRequest request;
    request.text =
        "msg::getcertdetails\ndat:json:{\"application\":\"common\",\"class\":\"all\","
        "\"certid\":\"" +
        leaf_ + "\",\"fields\":[]}\n";
    request.pid = getpid();
    request.uid = getuid();
    request.gid = getgid();
    return service_.answer(request);
  }
  std::string log() const {
    std::ifstream file(files_.path("log"));
    return {std::istreambuf_iterator<char>(file), {}};
  }

  TemporaryDirectory files_;
  TestCertificate root_;
  std::string leaf_;
  OwnedFd log_{open(files_.path("log").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600)};
  Counters counters_;
  RequestRecords records_;
  ChainDirectory chains_;
  CertDetailsService service_;
};

TEST_F(CertDetailsServiceTest, SecondAnswerIsTheFirstRemembered) {
  const std::string first = ask();
  EXPECT_EQ(first, ask());
  EXPECT_EQ(1U, counters_.value(Counters::remembered));
}

TEST_F(CertDetailsServiceTest, ReloadForgetsVerdicts) {
  ask();
  service_.reload();
  ask();
  EXPECT_EQ(0U, counters_.value(Counters::remembered));
}

TEST_F(CertDetailsServiceTest, ReloadLoadsTheStoresAnew) {
  ask();
  const std::uint64_t before = counters_.value(Counters::storeLoads);
  service_.reload();
  ask();
  EXPECT_EQ(before + 1, counters_.value(Counters::storeLoads));
}

TEST_F(CertDetailsServiceTest, ReloadDoesNotChangeTheAnswer) {
  const std::string before = ask();
  service_.reload();
  EXPECT_EQ(before, ask());
}

TEST_F(CertDetailsServiceTest, TimeOfVerdictsIsAddedUp) {
  ask();
  const std::string line = log();
  const std::size_t at = line.find(" us=") + 4;
  EXPECT_EQ(line.substr(at, line.find(' ', at) - at),
            std::to_string(counters_.value(Counters::evaluationMicroseconds)));
}

}  // namespace
