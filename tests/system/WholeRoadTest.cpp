#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Throws.h"
#include "tests/system/Road.h"
#include "trustlib/DefaultCertificateBlacklist.h"

namespace {

class WholeRoad : public testing::Test {
 protected:
  void TearDown() override {
    EXPECT_TRUE(std::filesystem::is_empty(road.world.home() + "/tmp")) << "temporary files left";
    EXPECT_EQ(0, road.service->end(SIGTERM)) << road.service->errors();
  }

  Road road;
};

TEST_F(WholeRoad, GoodChainIsTrustedUpToTheServicesAnchor) {
  road.start();
  const auto info = road.verify(road.leafFor("host.test"), "host.test");
  EXPECT_TRUE(info->isValid());
  EXPECT_EQ(0ULL, info->getWarnings());
  ASSERT_EQ(3U, info->getCertificateChain()->size());
  EXPECT_EQ(road.root.derString(), bytesOf(*info->getCertificateChain()).back());
}

TEST_F(WholeRoad, AnotherSitesCertificateIsAMismatchOnly) {
  road.start();
  const auto info = road.verify(road.leafFor("host.test"), "other.test");
  EXPECT_FALSE(info->isValid());
  EXPECT_EQ(0x2000ULL, info->getWarnings());
}

TEST_F(WholeRoad, UnknownRootIsNotTrusted) {
  road.start();
  const TestCertificate leaf = CertificateMaker("host.test").asServer().dns("host.test").make();
  const auto info = road.verify(leaf, "host.test");
  EXPECT_FALSE(info->isValid());
  EXPECT_EQ(0x100ULL, info->getWarnings());
  EXPECT_EQ(leaf.derString(), bytesOf(*info->getCertificateChain()).front());
}

TEST_F(WholeRoad, ExpiredCertificateOfAnotherSiteShowsBoth) {
  road.start();
  const TestCertificate leaf = CertificateMaker("host.test")
                                   .asServer()
                                   .dns("host.test")
                                   .notAfter("20210101000000Z")
                                   .issuedBy(road.interByRoot)
                                   .make();
  EXPECT_EQ(0x2008ULL, road.verify(leaf, "other.test")->getWarnings());
}

TEST_F(WholeRoad, BlacklistedSerialIsRevoked) {
  road.start();
  const TestCertificate leaf = road.blacklistedLeafFor("host.test");
  Chain chain{leaf.derString(), road.interByRoot.derString()};
  TrustEngineImpl engine(chain.list());
  engine.setCertificateBlacklist(DefaultCertificateBlacklist::getInstance());
  const std::unique_ptr<CertificateTrustInfo> info(engine.verify());
  EXPECT_FALSE(info->isValid());
  EXPECT_TRUE(info->isRevoked());
}

TEST_F(WholeRoad, NameWithANulInsideNeverMatchesItsCleanPart) {
  road.start();
  const TestCertificate leaf = CertificateMaker("host.test")
                                   .asServer()
                                   .dns(std::string_view("host.test\0.evil.test", 20))
                                   .issuedBy(road.interByRoot)
                                   .make();
  EXPECT_EQ(0x2000ULL, road.verify(leaf, "host.test")->getWarnings());
}

TEST_F(WholeRoad, StoresOfTheServiceAreNamedInAnyCase) {
  road.start();
  const std::string application("Common");
  const std::string storeClass("User_Trusted");
  Chain chain{road.leafFor("host.test").derString(), road.interByRoot.derString()};
  TrustEngineImpl engine(chain.list());
  engine.setTrustStore(&application, &storeClass);
  EXPECT_TRUE(std::unique_ptr<CertificateTrustInfo>(engine.verify())->isValid());
}

TEST_F(WholeRoad, StoreNameThatLeavesTheStoresIsTheServicesError) {
  road.start();
  const std::string application("..");
  Chain chain{road.leafFor("host.test").derString()};
  TrustEngineImpl engine(chain.list());
  engine.setTrustStore(&application, nullptr);
  EXPECT_THROW(engine.verify(), TrustManagerException);
}

// Verifies as one of many, half of them against a domain that does not fit, and says whether
// every verdict was right and about the caller's own chain.
bool verdictsAreRight(const Road& road, const TestCertificate& leaf, const std::string& host,
                      int rounds) {
  bool right = true;
  for (int i = 0; i < rounds; ++i) {
    const bool fits = i % 2 == 0;
    const auto info = road.verify(leaf, fits ? host : "elsewhere.test");
    right = right && info->isValid() == fits && info->getWarnings() == (fits ? 0U : 0x2000U) &&
            bytesOf(*info->getCertificateChain()).front() == leaf.derString();
  }
  return right;
}

// As many threads as there are hosts, each with its own chain.
bool everyThreadIsRight(const Road& road, const std::vector<std::string>& hosts,
                        const std::vector<TestCertificate>& leaves, int rounds) {
  std::vector<std::thread> threads;
  std::vector<char> right(hosts.size(), 0);
  threads.reserve(hosts.size());
  for (std::size_t i = 0; i < hosts.size(); ++i) {
    threads.emplace_back(
        [&, i] { right[i] = verdictsAreRight(road, leaves[i], hosts[i], rounds) ? 1 : 0; });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  return std::vector<char>(hosts.size(), 1) == right;
}

class ManyCallers : public WholeRoad {
 protected:
  void makeLeaves(int count) {
    for (int i = 0; i < count; ++i) {
      hosts.push_back("host" + std::to_string(i) + ".test");
      leaves.push_back(road.leafFor(hosts.back()));
    }
  }

  std::vector<std::string> hosts;
  std::vector<TestCertificate> leaves;
};

TEST_F(ManyCallers, SixtyFourThreadsThroughOneServiceAllGetTheirOwnVerdict) {
  makeLeaves(64);
  road.start();
  EXPECT_TRUE(everyThreadIsRight(road, hosts, leaves, 6));
}

TEST_F(ManyCallers, ProcessesAndThreadsOfOneHomeAllGetTheirOwnVerdict) {
  makeLeaves(32);
  road.start();
  std::vector<pid_t> children;
  for (std::size_t i = 0; i < 8; ++i) {
    const auto first = static_cast<std::ptrdiff_t>(4 * i);
    const std::vector<std::string> ownHosts(hosts.begin() + first, hosts.begin() + first + 4);
    const std::vector<TestCertificate> ownLeaves(leaves.begin() + first,
                                                 leaves.begin() + first + 4);
    const pid_t child = fork();
    if (child == 0) {
      _exit(everyThreadIsRight(road, ownHosts, ownLeaves, 10) ? 0 : 1);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
}

}  // namespace
