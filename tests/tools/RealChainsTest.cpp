#include <stdlib.h>

#include <fstream>
#include <iterator>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/TrustctlFixture.h"

namespace {

using testing::HasSubstr;

// Chains as public servers send them, HOST.pem and HOST.root.pem, with the time at which each
// was valid in index.json; only where TRUSTLIB_REAL_CHAINS names their directory.
class RealChain : public TrustctlTest, public testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override {
    TrustctlTest::SetUp();
    const char* directory = getenv("TRUSTLIB_REAL_CHAINS");
    if (directory == nullptr) {
      GTEST_SKIP() << "TRUSTLIB_REAL_CHAINS names no directory of chains";
    }
    host_ = GetParam();
    chain_ = std::string(directory) + "/" + host_ + ".pem";
    root_ = std::string(directory) + "/" + host_ + ".root.pem";
    time_ = validationTime(std::string(directory) + "/index.json");
    ASSERT_NE("", time_);
  }

  std::string validationTime(const std::string& path) const {
    std::ifstream file(path);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    rapidjson::Document index;
    index.Parse(text.c_str());
    for (const rapidjson::Value& entry : index.GetArray()) {
      if (entry["host"].GetString() == host_) {
        return entry["validation_time"].GetString();
      }
    }
    return {};
  }

  std::string host_;
  std::string chain_;
  std::string root_;
  std::string time_;
};

TEST_P(RealChain, IsTrustedForItsHostByItsRoot) {
  const ProgramRun result =
      run({"verify", "--at", time_, "--cafile", root_, "--domain", host_, chain_});
  EXPECT_EQ(0, result.status) << result.out << result.err;
}

TEST_P(RealChain, IsTrustedForItsHostByTheSystemsAnchors) {
  const ProgramRun result = run({"verify", "--at", time_, "--domain", host_, chain_});
  EXPECT_EQ(0, result.status) << result.out << result.err;
}

TEST_P(RealChain, IsNotTrustedForAnotherHost) {
  const ProgramRun result =
      run({"verify", "--at", time_, "--cafile", root_, "--domain", "other.test", chain_});
  EXPECT_EQ(1, result.status) << result.err;
  EXPECT_THAT(result.out, HasSubstr("  DOMAINNAME_MISMATCH\n"));
}

INSTANTIATE_TEST_SUITE_P(Hosts, RealChain,
                         testing::Values("amazon.com", "apple.com", "cloudflare.com",
                                         "docs.python.org", "microsoft.com", "stackoverflow.com"));

}  // namespace
