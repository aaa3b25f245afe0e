// The whole road on a day past 2038, when 32 bits of seconds are over.

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/FarDate.h"
#include "tests/support/FutureClock.h"
#include "tests/system/Road.h"
#include "trustlib/CertificateExceptionImpl.h"
#include "trustlib/CertificateWarnings.h"
#include "trustlib/FileCertificateExceptionStore.h"
#include "trustlib/openssl/OpenSslUtilities.h"
#include "trustlib/util/FileUtilities.h"

namespace {

using testing::MatchesRegex;

class FarFuture : public testing::Test {
 protected:
  // The verdict of a service that starts now, for a leaf of that validity.
  std::unique_ptr<CertificateTrustInfo> verify(std::string_view notBefore,
                                               std::string_view notAfter) {
    road.start();
    const TestCertificate leaf = CertificateMaker("host.test")
                                     .asServer()
                                     .dns("host.test")
                                     .notBefore(notBefore)
                                     .notAfter(notAfter)
                                     .issuedBy(road.interByRoot)
                                     .make();
    return road.verify(leaf, "host.test");
  }

  Road road;  // on today's date: what it writes is older than what is tested
  const FutureClock clock{kFarDate};
};

TEST_F(FarFuture, CertificateUpTo2099IsTrusted) {
  const auto info = verify("20200101000000Z", "20991231235959Z");
  EXPECT_TRUE(info->isValid());
  EXPECT_EQ(0U, info->getWarnings());
}

TEST_F(FarFuture, CertificateThatEndedIn2040HasExpired) {
  const auto info = verify("20200101000000Z", "20400101000000Z");
  EXPECT_FALSE(info->isValid());
  EXPECT_EQ(CertificateWarnings::CERT_EXPIRY, info->getWarnings());
}

TEST_F(FarFuture, CertificateFrom2044OnIsTrusted) {
  const auto info = verify("20440101000000Z", "20460101000000Z");
  EXPECT_TRUE(info->isValid());
  EXPECT_EQ(0U, info->getWarnings());
}

TEST_F(FarFuture, CertificateFrom2046OnIsNotYetValid) {
  const auto info = verify("20460101000000Z", "20991231235959Z");
  EXPECT_EQ(CertificateWarnings::CERT_EXPIRY, info->getWarnings());
}

TEST_F(FarFuture, CertificateWithoutAnEndIsTrusted) {
  EXPECT_TRUE(verify("20200101000000Z", "99991231235959Z")->isValid());
}

TEST_F(FarFuture, StoreThatWasWrittenThatYearIsRead) {
  const std::string store = road.world.root() + "/stores/common/user_trusted";
  for (const auto& entry : std::filesystem::directory_iterator(store)) {
    if (!setDate(entry.path(), kFarDate - 100)) GTEST_SKIP() << kNoSuchDate;
  }
  if (!setDate(store, kFarDate - 100)) GTEST_SKIP() << kNoSuchDate;
  EXPECT_TRUE(verify("20200101000000Z", "20991231235959Z")->isValid());
}

TEST_F(FarFuture, RuntimeDirectoryOfThatYearIsUsed) {
  if (!setDate(road.world.runtime(), kFarDate)) GTEST_SKIP() << kNoSuchDate;
  if (!setDate(road.world.root(), kFarDate)) GTEST_SKIP() << kNoSuchDate;
  EXPECT_TRUE(verify("20200101000000Z", "20991231235959Z")->isValid());
}

// Seconds since 1970, then the number of the file.
TEST_F(FarFuture, TemporaryFileIsNamedAfterTheTime) {
  std::string path;
  FileUtilities::createTemporaryFilePath(&path);
  EXPECT_THAT(path, MatchesRegex(".*/home/tmp/2379[89][0-9]+\\.der"));
}

TEST_F(FarFuture, TemporaryFileIsNamedAfterATimePast32BitsWithoutASignToo) {
  const FutureClock in2300(10413792000);
  std::string path;
  FileUtilities::createTemporaryFilePath(&path);
  EXPECT_THAT(path, MatchesRegex(".*/home/tmp/1041379[0-9]{5,}\\.der"));
}

TEST_F(FarFuture, DecisionIsStoredAndFound) {
  const std::string path = road.world.root() + "/decisions";
  FileCertificateExceptionStore store(&path);
  Chain chain{"leaf", "root"};
  const std::string domain("host.test");
  const CertificateExceptionImpl decision(0x8, &domain, chain.list());
  store.addException(&decision);
  EXPECT_TRUE(store.exceptionExists(&decision));
}

TEST_F(FarFuture, DecisionThatWasStoredThatYearIsFound) {
  const std::string path = road.world.root() + "/decisions";
  FileCertificateExceptionStore store(&path);
  Chain chain{"leaf", "root"};
  const CertificateExceptionImpl decision(0x8, nullptr, chain.list());
  store.addException(&decision);
  for (const auto& entry : std::filesystem::directory_iterator(path)) {
    if (!setDate(entry.path(), kFarDate)) GTEST_SKIP() << kNoSuchDate;
  }
  if (!setDate(path, kFarDate)) GTEST_SKIP() << kNoSuchDate;
  FileCertificateExceptionStore later(&path);
  EXPECT_TRUE(later.exceptionExists(&decision));
}

// OpenSSL may take the clock for one before 1970 then. That makes a certificate invalid to it,
// which is nobody's verdict: the chain is the same.
TEST_F(FarFuture, ChainIsBuiltUpToItsRoot) {
  const TestCertificate leaf = road.leafFor("host.test");
  Chain chain{leaf.derString(), road.interByRoot.derString()};
  const std::string store = road.world.root() + "/stores/common/user_trusted";
  Chain built;
  OpenSslUtilities::buildTrustChain(&store, chain.list(), built.list());
  EXPECT_EQ((std::vector<std::string>{leaf.derString(), road.interByRoot.derString(),
                                      road.root.derString()}),
            bytesOf(*built.list()));
}

}  // namespace
