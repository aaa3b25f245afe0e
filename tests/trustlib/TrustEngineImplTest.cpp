#include "trustlib/TrustEngineImpl.h"

#include <cstdlib>
#include <filesystem>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/CertificateMaker.h"
#include "tests/support/ScriptedService.h"
#include "tests/support/ServiceWorld.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Throws.h"
#include "tests/trustlib/Chains.h"
#include "trustlib/CertificateExceptionImpl.h"
#include "trustlib/util/PpsTimeoutException.h"

namespace {

using Ders = std::vector<std::string>;

// What the service says; `paths` names the chain, by default the very paths it was sent.
struct Answer {
  std::string validity = "VALID";
  std::string warnings;  // names in quotes
  std::string serial = "0A B1";
  std::string commonNames = R"("host.test")";
  std::string altNames;
  std::optional<std::string> paths;
};

// The paths of a request, in quotes and separated by commas, leaf first.
std::string pathsSent(const std::string& request) {
  const std::string leafKey("\"certid\":");
  const std::string restKey("\"intermediateCerts\":[");
  const std::size_t leaf = request.find(leafKey) + leafKey.length();
  std::string paths = request.substr(leaf, request.find(',', leaf) - leaf);
  const std::size_t rest = request.find(restKey);
  if (rest != std::string::npos) {
    const std::size_t start = rest + restKey.length();
    paths += "," + request.substr(start, request.find(']', start) - start);
  }
  return paths;
}

std::string textOf(const Answer& answer, const std::string& request) {
  return R"(dat:json:{"serial":")" + answer.serial + R"(","subjectCommonName":[)" +
         answer.commonNames + R"(],"subjectAltNames":[)" + answer.altNames + R"(],"validity":")" +
         answer.validity + R"(","warnings":[)" + answer.warnings + R"(],"chain":[)" +
         answer.paths.value_or(pathsSent(request)) + "]}\n";
}

// Answers as told and notes what it was asked.
class ScriptedBlacklist : public CertificateBlacklist {
 public:
  explicit ScriptedBlacklist(int verdict) : verdict(verdict) {}

  int isCertificateBlacklisted(const std::string* serialNumber,
                               const std::list<std::string>* commonNames,
                               const std::list<std::string>* subjectAltNames) override {
    asked = *serialNumber + "|" + commonNames->front() + "|" +
            (subjectAltNames->empty() ? "" : subjectAltNames->front());
    return verdict;
  }

  int verdict;
  std::string asked;
};

// Holds at most one record.
class OneRecordStore : public CertificateExceptionStore {
 public:
  bool addException(const CertificateException* exception) override {
    record.reset(exception->clone());
    return true;
  }
  bool exceptionExists(const CertificateException* exception) const override {
    ++asked;
    return exception->compare(record.get());
  }
  void clear() override { record.reset(); }

  mutable int asked = 0;

 private:
  std::unique_ptr<CertificateException> record;
};

class Engine : public testing::Test {
 protected:
  Engine()
      : root(CertificateMaker("root").asCa().make()),
        leafByRoot(CertificateMaker("host.test").asServer().issuedBy(root).make()),
        presented{leafByRoot.derString(), root.derString()},
        engine(presented.list()) {}

  std::unique_ptr<CertificateTrustInfo> verify(const Answer& answer) {
    const ScriptedService service(world.runtime(), "certmgr", [&](const std::string& request) {
      return std::optional(textOf(answer, request));
    });
    std::unique_ptr<CertificateTrustInfo> info(engine.verify());
    requests = service.requests();
    return info;
  }

  bool leftNothingBehind() const { return std::filesystem::is_empty(world.home() + "/tmp"); }

  ServiceWorld world;
  TestCertificate root;
  TestCertificate leafByRoot;
  Chain presented;
  TrustEngineImpl engine;
  std::vector<std::string> requests;
  const std::string host = "host.test";
  const std::string elsewhere = "elsewhere.test";
};

Answer untrusted() {
  Answer answer;
  answer.validity = "INVALID";
  answer.warnings = R"("NO_TRUSTED")";
  return answer;
}

TEST_F(Engine, ValidChainIsValidWithoutWarningsAndNothingIsLeftBehind) {
  const auto info = verify({});
  EXPECT_TRUE(info->isValid());
  EXPECT_EQ(0ULL, info->getWarnings());
  EXPECT_FALSE(info->isException());
  EXPECT_TRUE(leftNothingBehind());
}

TEST_F(Engine, ServicesWarningsReachTheVerdict) {
  const auto info = verify(untrusted());
  EXPECT_FALSE(info->isValid());
  EXPECT_EQ(0x100ULL, info->getWarnings());
}

TEST_F(Engine, WithoutADomainNamesAreNotChecked) {
  const auto info = verify({});
  EXPECT_TRUE(info->isValid());
  EXPECT_EQ(nullptr, info->getDomainName());
}

TEST_F(Engine, CoveredDomainIsValidAndNamedInTheVerdict) {
  engine.setDomainName(&host);
  const auto info = verify({});
  EXPECT_TRUE(info->isValid());
  EXPECT_EQ("host.test", *info->getDomainName());
}

TEST_F(Engine, UncoveredDomainAddsToTheServicesWarnings) {
  engine.setDomainName(&elsewhere);
  EXPECT_EQ(0x2100ULL, verify(untrusted())->getWarnings());
}

TEST_F(Engine, UncoveredDomainAloneMakesAValidChainInvalid) {
  engine.setDomainName(&elsewhere);
  const auto info = verify({});
  EXPECT_FALSE(info->isValid());
  EXPECT_EQ(0x2000ULL, info->getWarnings());
}

TEST_F(Engine, DomainThatNeitherItselfNorAnyAlternativeCoversIsAMismatch) {
  const std::list<std::string> alternatives = {"third.test", "fourth.test"};
  engine.setDomainName(&elsewhere);
  engine.setAltDomainName(&alternatives);
  const auto info = verify({});
  EXPECT_FALSE(info->isValid());
  EXPECT_EQ(0x2000ULL, info->getWarnings());
}

TEST_F(Engine, AlternativeDomainMayBeCoveredByADnsName) {
  const std::list<std::string> alternatives = {"alt.test"};
  Answer answer;
  answer.altNames = R"("DNS:alt.test")";
  engine.setDomainName(&elsewhere);
  engine.setAltDomainName(&alternatives);
  EXPECT_TRUE(verify(answer)->isValid());
}

TEST_F(Engine, DnsNameOfTheServicesAnswerSilencesItsCommonNames) {
  Answer answer;
  answer.altNames = R"("DNS:alt.test")";
  engine.setDomainName(&host);
  EXPECT_FALSE(verify(answer)->isValid());
}

TEST_F(Engine, AlternativeDomainWillDoInstead) {
  const std::list<std::string> alternatives = {"third.test", "host.test"};
  engine.setDomainName(&elsewhere);
  engine.setAltDomainName(&alternatives);
  EXPECT_TRUE(verify({})->isValid());
}

TEST_F(Engine, AlternativeDomainsAloneCheckNothing) {
  const std::list<std::string> alternatives = {"third.test"};
  engine.setAltDomainName(&alternatives);
  EXPECT_TRUE(verify({})->isValid());
}

TEST_F(Engine, BlacklistIsAskedWithTheNormalSerialAndTheNames) {
  ScriptedBlacklist blacklist(0);
  engine.setCertificateBlacklist(&blacklist);
  Answer answer;
  answer.altNames = R"("DNS:alt.test")";
  EXPECT_TRUE(verify(answer)->isValid());
  EXPECT_EQ("0ab1|host.test|DNS:alt.test", blacklist.asked);
}

TEST_F(Engine, BlacklistedSerialIsRevokedOnTopOfTheOtherWarnings) {
  ScriptedBlacklist blacklist(2);
  engine.setCertificateBlacklist(&blacklist);
  const auto info = verify(untrusted());
  EXPECT_FALSE(info->isValid());
  EXPECT_EQ(0x500ULL, info->getWarnings());
  EXPECT_TRUE(info->isRevoked());
}

TEST_F(Engine, AnyOtherBlacklistVerdictIsRevokedToo) {
  for (const int verdict : {-1, 3, 400}) {
    ScriptedBlacklist blacklist(verdict);
    engine.setCertificateBlacklist(&blacklist);
    EXPECT_EQ(0x400ULL, verify({})->getWarnings()) << verdict;
  }
}

TEST_F(Engine, BlacklistVerdictOneReplacesEveryWarning) {
  ScriptedBlacklist blacklist(1);
  engine.setCertificateBlacklist(&blacklist);
  Answer answer = untrusted();
  answer.warnings = R"("CERT_EXPIRY","REVOKED")";
  const auto info = verify(answer);
  EXPECT_FALSE(info->isValid());
  EXPECT_EQ(0x100ULL, info->getWarnings());
}

TEST_F(Engine, BlacklistVerdictOneMakesAValidChainInvalid) {
  ScriptedBlacklist blacklist(1);
  engine.setCertificateBlacklist(&blacklist);
  const auto info = verify({});
  EXPECT_FALSE(info->isValid());
  EXPECT_EQ(0x100ULL, info->getWarnings());
}

TEST_F(Engine, HostNameStepStillAddsAfterBlacklistVerdictOne) {
  ScriptedBlacklist blacklist(1);
  engine.setCertificateBlacklist(&blacklist);
  engine.setDomainName(&elsewhere);
  EXPECT_EQ(0x2100ULL, verify({})->getWarnings());
}

TEST_F(Engine, WithoutAStoreAnUntrustedChainStaysUntrusted) {
  const auto info = verify(untrusted());
  EXPECT_FALSE(info->isValid());
  EXPECT_FALSE(info->isException());
}

TEST_F(Engine, StoredDecisionMakesTheVerdictValidAndKeepsItsWarnings) {
  OneRecordStore store;
  const CertificateExceptionImpl record(0x2100, &elsewhere, presented.list());
  store.addException(&record);
  engine.setDomainName(&elsewhere);
  engine.setCertificateExceptionStore(&store);
  const auto info = verify(untrusted());
  EXPECT_TRUE(info->isValid());
  EXPECT_TRUE(info->isException());
  EXPECT_EQ(0x2100ULL, info->getWarnings());
}

TEST_F(Engine, StoredDecisionForOtherWarningsDoesNotHelp) {
  OneRecordStore store;
  const CertificateExceptionImpl record(0x2000, &elsewhere, presented.list());
  store.addException(&record);
  engine.setDomainName(&elsewhere);
  engine.setCertificateExceptionStore(&store);
  const auto info = verify(untrusted());
  EXPECT_FALSE(info->isValid());
  EXPECT_FALSE(info->isException());
}

TEST_F(Engine, StoredDecisionCanCoverARevokedChain) {
  OneRecordStore store;
  ScriptedBlacklist blacklist(2);
  const CertificateExceptionImpl record(0x400, nullptr, presented.list());
  store.addException(&record);
  engine.setCertificateExceptionStore(&store);
  engine.setCertificateBlacklist(&blacklist);
  const auto info = verify({});
  EXPECT_TRUE(info->isValid());
  EXPECT_TRUE(info->isException());
  EXPECT_TRUE(info->isRevoked());
}

TEST_F(Engine, ValidChainDoesNotAskTheStore) {
  OneRecordStore store;
  engine.setCertificateExceptionStore(&store);
  EXPECT_FALSE(verify({})->isException());
  EXPECT_EQ(0, store.asked);
}

TEST_F(Engine, SameChainFromTheServiceGivesCopiesOfTheBuiltOne) {
  EXPECT_EQ((Ders{leafByRoot.derString(), root.derString()}),
            bytesOf(*verify({})->getCertificateChain()));
}

TEST_F(Engine, AnotherChainFromTheServiceIsReadFromItsFiles) {
  const TemporaryDirectory files;
  Answer answer;
  answer.paths = "\"" + files.write("a.der", "other leaf") + "\",\"" +
                 files.write("b.der", "other root") + "\"";
  EXPECT_EQ((Ders{"other leaf", "other root"}), bytesOf(*verify(answer)->getCertificateChain()));
  EXPECT_TRUE(leftNothingBehind());
}

TEST_F(Engine, ServicesFileThatCannotBeReadIsAnErrorAndNothingIsLeftBehind) {
  const TemporaryDirectory files;
  Answer answer;
  answer.paths = "\"" + files.write("a.der", "other leaf") + "\",\"/no/such/file\"";
  EXPECT_THROWS(verify(answer), TrustManagerException,
                "FileUtilities::readFile - failed to open file");
  EXPECT_TRUE(leftNothingBehind());
}

TEST_F(Engine, FileThatCannotBeDeletedIsReportedAndLosesNothing) {
  const ScriptedService service(world.runtime(), "certmgr", [&](const std::string& request) {
    const std::string answer = textOf({}, request);
    std::filesystem::remove_all(world.home() + "/tmp");
    return std::optional(answer);
  });
  EXPECT_THROWS(std::unique_ptr<CertificateTrustInfo>(engine.verify()), TrustManagerException,
                "FileUtilities::deleteFile - failed: No such file or directory");
}

TEST_F(Engine, RequestCarriesTheDefaultStore) {
  engine.setTrustStore(nullptr, nullptr);
  verify({});
  EXPECT_NE(std::string::npos,
            requests.front().find(R"("application":"common","class":"user_trusted")"));
}

TEST_F(Engine, RequestCarriesTheStoresNamesUnchanged) {
  const std::string application("BrowserApp");
  const std::string storeClass("Server_Trusted");
  engine.setTrustStore(&application, &storeClass);
  verify({});
  EXPECT_NE(std::string::npos,
            requests.front().find(R"("application":"BrowserApp","class":"Server_Trusted")"));
}

TEST_F(Engine, ServiceThatDoesNotAnswerTimesOutAndNothingIsLeftBehind) {
  const ScriptedService service(world.runtime(), "certmgr",
                                [](const std::string&) { return std::nullopt; });
  engine.setPpsTimeout(1);
  EXPECT_THROWS(engine.verify(), PpsTimeoutException, "PpsConnection::read - timed out");
  EXPECT_TRUE(leftNothingBehind());
}

TEST_F(Engine, WithoutAServiceThereIsNoVerdict) {
  EXPECT_THROWS(engine.verify(), TrustManagerException,
                "PpsConnection - failed to open PPS: /pps/services/certmgr/control?wait");
  EXPECT_TRUE(leftNothingBehind());
}

TEST_F(Engine, EmptyOrNullChainIsRefusedByTheBuilder) {
  const TrustEngineImpl withoutChain(nullptr);
  EXPECT_THROWS(withoutChain.verify(), TrustManagerException,
                "OpenSslUtilities: empty certificate chain");
}

TEST_F(Engine, ChainIsTheEnginesOwnCopy) {
  CertificateUtilities::clearCertificateChain(presented.list());
  EXPECT_EQ(2U, verify({})->getCertificateChain()->size());
}

TEST_F(Engine, MayVerifyAgainAndAgain) {
  EXPECT_TRUE(verify({})->isValid());
  EXPECT_FALSE(verify(untrusted())->isValid());
  EXPECT_TRUE(verify({})->isValid());
}

TEST(TrustEngineImpl, NamesItsDefaultStore) {
  EXPECT_EQ("common", TrustEngineImpl::defaultTrustStoreAppName);
  EXPECT_EQ("user_trusted", TrustEngineImpl::defaultTrustStoreClassName);
}

}  // namespace
