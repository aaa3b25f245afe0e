#include "trustlib/CertificateManager.h"

#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/ScriptedService.h"
#include "tests/support/ServiceWorld.h"
#include "tests/support/Throws.h"
#include "trustlib/util/PpsTimeoutException.h"

namespace {

using Names = std::list<std::string>;

const std::string application("APP");
const std::string storeClass("CLASS");
const Names onePath = {"LEAF_PATH"};
const Names threePaths = {"LEAF_PATH", "CA1_PATH", "CA2_PATH"};

class Manager : public testing::Test {
 protected:
  std::unique_ptr<CertificateDetails> ask(const std::string& answer, const Names& paths = onePath) {
    const ScriptedService service(world.runtime(), "certmgr", answer);
    std::unique_ptr<CertificateDetails> details(
        manager.verifyCertificateTrust(&paths, &application, &storeClass, 30));
    requests = service.requests();
    return details;
  }

  // An answer with the members, some of them replaced or left out.
  std::unique_ptr<CertificateDetails> askWithData(const std::string& members) {
    return ask("res::getcertdetails\nid::789\ndat:json:{" + members + "}\n");
  }

  ServiceWorld world;
  CertificateManager manager;
  std::vector<std::string> requests;
};

const char* const validMembers =
    R"("serial":"0A B1","subjectCommonName":["cn"],"subjectAltNames":["DNS:san"],)"
    R"("validity":"VALID","chain":["/1","/2"])";

TEST_F(Manager, DetailsOfAValidChainAreRead) {
  const auto details = askWithData(validMembers);
  EXPECT_TRUE(details->isValid());
  EXPECT_EQ(0ULL, details->getWarnings());
  EXPECT_EQ("0ab1", *details->getSerialNumber());
  EXPECT_EQ(Names{"cn"}, *details->getCommonNames());
  EXPECT_EQ(Names{"DNS:san"}, *details->getSubjectAltNames());
  EXPECT_EQ((Names{"/1", "/2"}), *details->getCertificateChain());
}

TEST_F(Manager, RequestForOnePathHasNoIntermediates) {
  askWithData(validMembers);
  ASSERT_EQ(1U, requests.size());
  EXPECT_EQ(
      "msg::getcertdetails\nid::789\n"
      R"(dat:json:{"application":"APP","class":"CLASS","certid":"LEAF_PATH",)"
      R"("fields":["validity","subjectCommonName","subjectAltNames","serial"]})"
      "\n",
      requests.front());
}

TEST_F(Manager, RequestForSeveralPathsListsTheIntermediatesInOrder) {
  ask(std::string("dat:json:{") + validMembers + "}", threePaths);
  ASSERT_EQ(1U, requests.size());
  EXPECT_EQ(
      "msg::getcertdetails\nid::789\n"
      R"(dat:json:{"application":"APP","class":"CLASS","certid":"LEAF_PATH",)"
      R"("intermediateCerts":["CA1_PATH","CA2_PATH"],)"
      R"("fields":["validity","subjectCommonName","subjectAltNames","serial"]})"
      "\n",
      requests.front());
}

TEST_F(Manager, ArgumentsAreCheckedInOrderBeforeAnythingIsSent) {
  const Names empty;
  const char* const chainMessage =
      "CertificateManager::createGetCertDetailsPpsRequest - empty certificate chain";
  EXPECT_THROWS(manager.verifyCertificateTrust(nullptr, nullptr, nullptr, 1), TrustManagerException,
                chainMessage);
  EXPECT_THROWS(manager.verifyCertificateTrust(&empty, nullptr, &storeClass, 1),
                TrustManagerException, chainMessage);
  EXPECT_THROWS(
      manager.verifyCertificateTrust(&onePath, nullptr, nullptr, 1), TrustManagerException,
      "CertificateManager::createGetCertDetailsPpsRequest - trust store app name is NULL");
  EXPECT_THROWS(
      manager.verifyCertificateTrust(&onePath, &application, nullptr, 1), TrustManagerException,
      "CertificateManager::createGetCertDetailsPpsRequest - trust store class name is NULL");
}

TEST_F(Manager, WithoutAServiceTheObjectIsNamed) {
  EXPECT_THROWS(manager.verifyCertificateTrust(&onePath, &application, &storeClass, 1),
                TrustManagerException,
                "PpsConnection - failed to open PPS: /pps/services/certmgr/control?wait");
}

TEST_F(Manager, ValidChainsWarningsAreNotEvenRead) {
  const auto details =
      askWithData(R"("serial":"1","subjectCommonName":[],"validity":"VALID","warnings":7,)"
                  R"("chain":[])");
  EXPECT_TRUE(details->isValid());
  EXPECT_EQ(0ULL, details->getWarnings());
}

TEST_F(Manager, LowerCaseValidityIsNotValidAndNeedsWarnings) {
  EXPECT_THROWS(askWithData(R"("serial":"1","subjectCommonName":[],"validity":"valid","chain":[])"),
                TrustManagerException, "PpsDecoder: Failed to perform push on warnings, error = 3");
}

TEST_F(Manager, LongerWordThatBeginsWithValidIsNotValid) {
  const auto details = askWithData(R"("serial":"1","subjectCommonName":[],"validity":"VALIDATED",)"
                                   R"("warnings":["NO_TRUSTED"],"chain":[])");
  EXPECT_FALSE(details->isValid());
  EXPECT_EQ(0x100ULL, details->getWarnings());
}

TEST_F(Manager, LowerCaseValidityComesWithItsWarnings) {
  const auto details = askWithData(R"("serial":"1","subjectCommonName":[],"validity":"valid",)"
                                   R"("warnings":["CERT_EXPIRY"],"chain":[])");
  EXPECT_FALSE(details->isValid());
  EXPECT_EQ(0x8ULL, details->getWarnings());
}

TEST_F(Manager, ObjectInPlaceOfTheWarningsIsRefused) {
  EXPECT_THROWS(askWithData(R"("serial":"1","subjectCommonName":[],"validity":"INVALID",)"
                            R"("warnings":{},"chain":[])"),
                TrustManagerException, "PpsDecoder: Failed to perform push on warnings, error = 4");
}

TEST_F(Manager, WarningsAreReadByNameAndUnknownOnesAddNothing) {
  const auto details =
      askWithData(R"("serial":"1","subjectCommonName":[],"validity":"INVALID",)"
                  R"("warnings":["CERT_EXPIRY","NO_TRUSTED","SOMETHING_NEW"],"chain":[])");
  EXPECT_FALSE(details->isValid());
  EXPECT_EQ(0x108ULL, details->getWarnings());
}

TEST_F(Manager, ServicesDomainMismatchAddsNothing) {
  const auto details = askWithData(R"("serial":"1","subjectCommonName":[],"validity":"INVALID",)"
                                   R"("warnings":["DOMAINNAME_MISMATCH"],"chain":[])");
  EXPECT_FALSE(details->isValid());
  EXPECT_EQ(0ULL, details->getWarnings());
}

TEST_F(Manager, AlternativeNamesMayBeAbsent) {
  const auto details =
      askWithData(R"("serial":"1","subjectCommonName":[],"validity":"VALID","chain":[])");
  EXPECT_TRUE(details->getSubjectAltNames()->empty());
}

TEST_F(Manager, EveryOtherMemberIsRequired) {
  EXPECT_THROWS(askWithData(R"("subjectCommonName":[],"validity":"VALID","chain":[])"),
                TrustManagerException,
                "PpsDecoder: Failed to perform get string on serial, error = 3");
  EXPECT_THROWS(askWithData(R"("serial":"1","validity":"VALID","chain":[])"), TrustManagerException,
                "PpsDecoder: Failed to perform push on subjectCommonName, error = 3");
  EXPECT_THROWS(askWithData(R"("serial":"1","subjectCommonName":[],"chain":[])"),
                TrustManagerException,
                "PpsDecoder: Failed to perform get string on validity, error = 3");
  EXPECT_THROWS(askWithData(R"("serial":"1","subjectCommonName":[],"validity":"VALID")"),
                TrustManagerException, "PpsDecoder: Failed to perform push on chain, error = 3");
}

TEST_F(Manager, ServicesErrorIsReportedEvenBesideCompleteDetails) {
  EXPECT_THROWS(ask(std::string("err::no such store\ndat:json:{") + validMembers + "}\n"),
                TrustManagerException,
                "CertificateManager::parseGetCertDetailsPpsResponse - PPS error: no such store");
}

TEST_F(Manager, AnswerWithoutDataIsUnsupported) {
  EXPECT_THROWS(ask("res::getcertdetails\nid::789\n"), TrustManagerException,
                "CertificateManager::parseGetCertDetailsPpsResponse - unsupported PPS response");
}

TEST_F(Manager, EmptyAnswerIsUnsupported) {
  EXPECT_THROWS(ask(""), TrustManagerException,
                "CertificateManager::parseGetCertDetailsPpsResponse - unsupported PPS response");
}

TEST_F(Manager, ServiceThatNeverAnswersTimesOut) {
  const ScriptedService service(world.runtime(), "certmgr",
                                [](const std::string&) { return std::nullopt; });
  EXPECT_THROWS(manager.verifyCertificateTrust(&onePath, &application, &storeClass, 1),
                PpsTimeoutException, "PpsConnection::read - timed out");
}

}  // namespace
