// What CertificateManager asks of the dialog service, and what it makes of the answers.
#include <list>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/ScriptedService.h"
#include "tests/support/ServiceWorld.h"
#include "tests/support/Throws.h"
#include "trustlib/CertificateManager.h"
#include "trustlib/CertificateWarnings.h"

namespace {

using Names = std::list<std::string>;

const std::string domain("SERVER_NAME");
const std::string groupId("7");
const Names twoPaths = {"LEAF_PATH", "ISSUER_PATH"};

std::string answerOf(const std::string& members) {
  return "res::show\nid::321\ndat:json:{\"resp_obj\":{" + members + "}}\n";
}

const std::string noThanks = answerOf(R"("accepted":false,"alwaysTrust":false)");

class ShowDialog : public testing::Test {
 protected:
  int ask(const std::string& answer) { return ask(answer, &twoPaths, &domain, 0, nullptr); }

  int ask(const std::string& answer, const Names* paths, const std::string* name,
          unsigned long long warnings, const std::string* group) {
    const ScriptedService service(world.runtime(), "dialog", answer);
    const int code = manager.displayCertificateVerificationDialog(paths, name, warnings, group, 30);
    request = service.requests().at(0);
    return code;
  }

  ServiceWorld world;
  CertificateManager manager;
  std::string request;
};

TEST_F(ShowDialog, RequestHasItsFixedForm) {
  ask(noThanks, &twoPaths, &domain,
      CertificateWarnings::NO_TRUSTED | CertificateWarnings::DOMAINNAME_MISMATCH, &groupId);
  EXPECT_EQ(
      "msg::show\nid::321\ndat:json:{\"className\":\"orb.dialog::CertificateVerificationDialog\","
      "\"desc_obj\":{\"domain\":\"SERVER_NAME\",\"import\":false,\"groupId\":\"7\","
      "\"warnings\":[\"NO_TRUSTED\",\"DOMAINNAME_MISMATCH\"],"
      "\"chain\":[\"LEAF_PATH\",\"ISSUER_PATH\"]}}\n",
      request);
}

TEST_F(ShowDialog, MembersThatAreNotGivenAreLeftOut) {
  ask(noThanks, &twoPaths, nullptr, 0, nullptr);
  EXPECT_EQ(
      "msg::show\nid::321\ndat:json:{\"className\":\"orb.dialog::CertificateVerificationDialog\","
      "\"desc_obj\":{\"import\":false,\"chain\":[\"LEAF_PATH\",\"ISSUER_PATH\"]}}\n",
      request);
}

TEST_F(ShowDialog, FlagsWithoutANameAreNotSent) {
  ask(noThanks, &twoPaths, nullptr, 0x4000, nullptr);
  EXPECT_EQ(std::string::npos, request.find("warnings"));
}

TEST_F(ShowDialog, AllNamesComeInBitOrder) {
  ask(noThanks, &twoPaths, nullptr, ~0ULL, nullptr);
  EXPECT_NE(std::string::npos,
            request.find("\"warnings\":[\"BC_NOT_CRITICAL\",\"BC_PATH_LENGTH\","
                         "\"UNKNOWN_CRITICAL_EXT\",\"CERT_EXPIRY\",\"KU_MISSING\",\"KU_INVALID\","
                         "\"BC_MISSING\",\"BC_NOT_CA\",\"NO_TRUSTED\",\"INVALID_SIGNATURE\","
                         "\"REVOKED\",\"NAME_CONSTRAINTS\",\"INVALID_ISSUER\","
                         "\"DOMAINNAME_MISMATCH\"],"));
}

TEST_F(ShowDialog, NothingIsEscaped) {
  const std::string hostile("a\",\"import\":true,\"x\":\"");
  ask(noThanks, &twoPaths, &hostile, 0, nullptr);
  EXPECT_NE(std::string::npos, request.find("\"domain\":\"" + hostile + "\","));
}

TEST_F(ShowDialog, EmptyListOfPathsLosesItsBracketAndQuote) {
  const Names none;
  ask(noThanks, &none, nullptr, 0, nullptr);
  EXPECT_NE(std::string::npos, request.find("\"chain\":]}}\n"));
}

TEST_F(ShowDialog, NullListOfPathsIsRefused) {
  EXPECT_THROWS(manager.displayCertificateVerificationDialog(nullptr, &domain, 0, nullptr, 30),
                TrustManagerException,
                "CertificateManager::createShowDialogPpsRequest - NULL certificate chain");
}

TEST_F(ShowDialog, AcceptedOnceIsZero) {
  EXPECT_EQ(0, ask(answerOf(R"("accepted":true,"alwaysTrust":false)")));
}

TEST_F(ShowDialog, DeclinedIsOne) {
  EXPECT_EQ(1, ask(noThanks));
}

TEST_F(ShowDialog, AlwaysIsTwo) {
  EXPECT_EQ(2, ask(answerOf(R"("accepted":true,"alwaysTrust":true)")));
}

TEST_F(ShowDialog, AlwaysIsTwoWhateverAcceptedSays) {
  EXPECT_EQ(2, ask(answerOf(R"("accepted":false,"alwaysTrust":true)")));
}

TEST_F(ShowDialog, NoAnswerInTimeIsThree) {
  const ScriptedService service(world.runtime(), "dialog",
                                [](const std::string&) { return std::nullopt; });
  EXPECT_EQ(3, manager.displayCertificateVerificationDialog(&twoPaths, &domain, 0, nullptr, 0));
}

TEST_F(ShowDialog, OtherAttributesAreIgnored) {
  EXPECT_EQ(0, ask("x:json:[1]\n" + answerOf(R"("more":{},"accepted":true,"alwaysTrust":false)")));
}

TEST_F(ShowDialog, ErrorIsReportedEvenBesideData) {
  EXPECT_THROWS(ask("err::no screen\n" + noThanks), TrustManagerException,
                "CertificateManager: showtrustdialog returned error: no screen");
}

TEST_F(ShowDialog, AnswerWithoutDataIsUnsupported) {
  EXPECT_THROWS(ask("res::show\n"), TrustManagerException,
                "CertificateManager: unsupported showtrustdialog PPS response");
}

TEST_F(ShowDialog, EmptyAnswerOfADeadServiceIsUnsupported) {
  EXPECT_THROWS(ask(""), TrustManagerException,
                "CertificateManager: unsupported showtrustdialog PPS response");
}

TEST_F(ShowDialog, AnswerWithoutAlwaysTrustIsTheDecodersFailure) {
  EXPECT_THROWS(ask(answerOf(R"("accepted":true)")), TrustManagerException,
                "PpsDecoder: Failed to perform get bool on alwaysTrust, error = 3");
}

TEST_F(ShowDialog, AnswerWithoutAcceptedIsTheDecodersFailure) {
  EXPECT_THROWS(ask(answerOf(R"("alwaysTrust":true)")), TrustManagerException,
                "PpsDecoder: Failed to perform get bool on accepted, error = 3");
}

TEST_F(ShowDialog, AnswerWithoutResponseObjectIsTheDecodersFailure) {
  EXPECT_THROWS(ask("dat:json:{}\n"), TrustManagerException,
                "PpsDecoder: Failed to perform push on resp_obj, error = 3");
}

TEST_F(ShowDialog, MissingServiceIsNamed) {
  EXPECT_THROWS(manager.displayCertificateVerificationDialog(&twoPaths, &domain, 0, nullptr, 30),
                TrustManagerException,
                "PpsConnection - failed to open PPS: /pps/services/dialog/control?wait");
}

}  // namespace
