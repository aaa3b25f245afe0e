#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/trustctl/VerdictReport.h"
#include "trustlib/CertificateWarnings.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr std::int64_t day = 86400;
constexpr std::int64_t checkTime = 1000 * day;

CertificateView someCertificate() {
  return {"CN=a.example",       "CN=Root",           "0a", checkTime - 10 * day,
          checkTime + 10 * day, std::string(64, 'a')};
}

Verdict trusted() {
  return {true, false, false, 0, {someCertificate()}};
}

Verdict untrusted(unsigned long long warnings) {
  return {false, false, false, warnings, {someCertificate()}};
}

ReportContext forDomain(const std::string& domain) {
  return {domain, checkTime, false, false};
}

std::size_t longestLine(const std::string& text) {
  std::istringstream lines(text);
  std::size_t longest = 0;
  for (std::string line; std::getline(lines, line);) {
    longest = std::max(longest, line.size());
  }
  return longest;
}

TEST(TextReport, BeginsWithTheVerdictAndTheDomain) {
  EXPECT_THAT(writeTextReport(trusted(), forDomain("a.example")),
              StartsWith("TRUSTED  a.example\n"));
  EXPECT_THAT(writeTextReport(untrusted(CertificateWarnings::NO_TRUSTED), forDomain("a.example")),
              StartsWith("NOT TRUSTED  a.example\n"));
}

TEST(TextReport, SaysWhenNoDomainWasChecked) {
  EXPECT_THAT(writeTextReport(trusted(), {{}, checkTime, false, false}),
              StartsWith("TRUSTED  (no domain was checked)\n"));
}

TEST(TextReport, NamesAndExplainsEveryWarning) {
  const std::string report =
      writeTextReport(untrusted(CertificateWarnings::NO_TRUSTED | CertificateWarnings::CERT_EXPIRY),
                      forDomain("a.example"));
  EXPECT_THAT(report, HasSubstr("  CERT_EXPIRY\n      A certificate has expired"));
  EXPECT_THAT(report, HasSubstr("  NO_TRUSTED\n      The chain does not lead"));
  EXPECT_THAT(report, HasSubstr("trustctl explain CERT_EXPIRY"));
}

TEST(TextReport, SaysByHowMuchACertificateHasExpired) {
  Verdict verdict = untrusted(CertificateWarnings::CERT_EXPIRY);
  verdict.chain[0].notAfter = checkTime - 3 * day;
  EXPECT_THAT(writeTextReport(verdict, forDomain("a.example")),
              HasSubstr("EXPIRED 3 days before the check"));
}

TEST(TextReport, SaysByHowMuchACertificateIsEarly) {
  Verdict verdict = untrusted(CertificateWarnings::CERT_EXPIRY);
  verdict.chain[0].notBefore = checkTime + 5 * day;
  EXPECT_THAT(writeTextReport(verdict, forDomain("a.example")),
              HasSubstr("NOT VALID YET, only 5 days after the check"));
}

TEST(TextReport, SaysNothingOfValidityOnItsLastSecond) {
  Verdict verdict = trusted();
  verdict.chain[0].notAfter = checkTime;
  verdict.chain[0].notBefore = checkTime;
  const std::string report = writeTextReport(verdict, forDomain("a.example"));
  EXPECT_THAT(report, Not(HasSubstr("EXPIRED")));
  EXPECT_THAT(report, Not(HasSubstr("NOT VALID YET")));
}

TEST(TextReport, KeepsALongSubjectBehindItsIndentation) {
  Verdict verdict = trusted();
  verdict.chain[0].subject = "CN=" + std::string(5000, 'x');
  const std::string report = writeTextReport(verdict, forDomain("a.example"));
  EXPECT_GE(80U, longestLine(report));
  EXPECT_THAT(report, HasSubstr(" more bytes]"));
  EXPECT_THAT(report, Not(HasSubstr("\nx")));
}

TEST(TextReport, EscapesAndCutsTheDomain) {
  const std::string report =
      writeTextReport(trusted(), forDomain("a\x1b[2J\nNOT TRUSTED" + std::string(1000, 'x')));
  EXPECT_THAT(report, StartsWith("TRUSTED  a\\x1b[2J\\x0aNOT TRUSTEDx"));
  EXPECT_GE(80U, longestLine(report));
}

TEST(TextReport, TellsAStoredDecisionFromACleanChain) {
  Verdict verdict = trusted();
  verdict.byException = true;
  verdict.warnings = CertificateWarnings::NO_TRUSTED;
  EXPECT_THAT(writeTextReport(verdict, forDomain("a.example")), HasSubstr("A stored decision"));
}

TEST(TextReport, DoesNotClaimThatWhoeverDeclinedWasTheUser) {
  Verdict verdict = untrusted(CertificateWarnings::NO_TRUSTED);
  verdict.decision = Decision::declined;
  const std::string report = writeTextReport(verdict, forDomain("a.example"));
  EXPECT_THAT(report, HasSubstr("was declined, or reached nobody.\n"));
  EXPECT_THAT(report, Not(HasSubstr("You were asked")));
}

TEST(TextReport, UsesColoursOnlyWhenToldTo) {
  EXPECT_THAT(writeTextReport(trusted(), forDomain("a.example")), Not(HasSubstr("\x1b")));
  EXPECT_THAT(writeTextReport(trusted(), {"a.example", checkTime, false, true}),
              HasSubstr("\x1b[1;32mTRUSTED\x1b[0m"));
}

}  // namespace
