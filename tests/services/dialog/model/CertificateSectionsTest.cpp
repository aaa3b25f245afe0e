#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "services/dialog/model/DialogModelBuilder.h"
#include "tests/services/dialog/model/ModelReading.h"
#include "trustlib/CertificateWarnings.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using Warning = CertificateWarnings;

std::vector<DialogSection> certificates(const DialogInput& input) {
  return sectionsOf(buildDialogModel(input), "certificate");
}

DialogSection leafSection(const CertificateMaker& maker) {
  return certificates(inputOf({maker.make()}, Warning::NO_TRUSTED)).at(0);
}

std::vector<std::string> headings(const std::vector<DialogSection>& sections) {
  std::vector<std::string> all;
  for (const DialogSection& section : sections) all.push_back(section.heading);
  return all;
}

struct Chain {
  TestCertificate root = CertificateMaker("Root").asCa().make();
  TestCertificate inter = CertificateMaker("Inter").asCa().issuedBy(root).make();
  TestCertificate leaf =
      CertificateMaker("a.example").asServer().dns("a.example").issuedBy(inter).make();
};

TEST(CertificateSections, ComeFromLeafToAnchor) {
  const Chain c;
  EXPECT_THAT(
      headings(certificates(inputOf({c.leaf, c.inter, c.root}, Warning::KU_MISSING))),
      ElementsAre("1. the server's own certificate", "2. intermediate", "3. anchor (self-signed)"));
}

TEST(CertificateSections, DoNotCallAnUntrustedEndAnAnchor) {
  const Chain c;
  EXPECT_THAT(headings(certificates(inputOf({c.leaf, c.inter, c.root}, Warning::NO_TRUSTED))),
              Contains("3. end of the chain (self-signed)"));
}

TEST(CertificateSections, SayThatTheChainEndsWithoutItsRoot) {
  const Chain c;
  EXPECT_THAT(headings(certificates(inputOf({c.leaf, c.inter}, Warning::NO_TRUSTED))),
              Contains("2. end of the chain"));
}

TEST(CertificateSections, SayThatTheServerSignedItself) {
  EXPECT_EQ("1. the server's own certificate (self-signed)",
            leafSection(CertificateMaker("a.example")).heading);
}

TEST(CertificateSections, ShowSubjectAndIssuer) {
  const Chain c;
  const auto section = certificates(inputOf({c.leaf, c.inter}, Warning::NO_TRUSTED)).at(0);
  EXPECT_THAT(valuesOf(section, "subject"), ElementsAre("CN=a.example"));
  EXPECT_THAT(valuesOf(section, "issued by"), ElementsAre("CN=Inter"));
}

TEST(CertificateSections, SayThatANameIsEmpty) {
  EXPECT_THAT(valuesOf(leafSection(CertificateMaker()), "subject"), ElementsAre("(empty)"));
}

TEST(CertificateSections, ShowNamesOfAllKinds) {
  const auto section = leafSection(CertificateMaker("x")
                                       .dns("b.example")
                                       .ip("192.0.2.1")
                                       .uri("https://c.example/")
                                       .email("d@d.example"));
  EXPECT_THAT(valuesOf(section, "name"), ElementsAre("b.example"));
  EXPECT_THAT(valuesOf(section, "IP address"), ElementsAre("192.0.2.1"));
  EXPECT_THAT(valuesOf(section, "URI"), ElementsAre("https://c.example/"));
  EXPECT_THAT(valuesOf(section, "e-mail"), ElementsAre("d@d.example"));
}

TEST(CertificateSections, ShowTheCommonNameWhereItIsTheServersName) {
  EXPECT_THAT(valuesOf(leafSection(CertificateMaker("b.example")), "common name"),
              ElementsAre("b.example"));
}

TEST(CertificateSections, ShowTheNameThatFitsTheDomainFirstAmongTenThousand) {
  CertificateMaker maker("x");
  for (int i = 0; i < 9999; ++i) maker.dns("n" + std::to_string(i) + ".example.net");
  maker.dns("*.example");
  const auto section = leafSection(maker);
  EXPECT_THAT(valuesOf(section, "fitting name"), ElementsAre("*.example"));
  EXPECT_EQ(19U, valuesOf(section, "name").size());
  EXPECT_THAT(valuesOf(section, ""), Contains("It bears 9980 more names that are not shown."));
}

TEST(CertificateSections, AFittingNameReassuresNobodySinceAnybodyCanWriteIt) {
  const auto section = leafSection(CertificateMaker("x").dns("a.example"));
  for (const DialogLine& line : section.lines) EXPECT_NE(DialogTone::good, line.tone);
}

TEST(CertificateSections, ShowCodedNamesInBothForms) {
  const auto section = leafSection(CertificateMaker("x").dns("xn--bcher-kva.example"));
  EXPECT_THAT(valuesOf(section, "name"), ElementsAre("xn--bcher-kva.example"));
  EXPECT_THAT(valuesOf(section, "stands for"), ElementsAre("b\u00fccher.example"));
}

TEST(CertificateSections, MarkAWordOfTheSubjectThatMixesScripts) {
  const auto section = leafSection(CertificateMaker("B\u0430nk"));
  EXPECT_THAT(valuesOf(section, ""), Contains(HasSubstr("mixes letters of different scripts")));
}

TEST(CertificateSections, SayThatNamesCannotBeRead) {
  const auto section =
      leafSection(CertificateMaker("x").extension("subjectAltName", "DER:04:01:61"));
  EXPECT_THAT(valuesOf(section, ""), Contains("Its alternative names cannot be read."));
}

TEST(CertificateSections, CountNamesOfOtherKinds) {
  const auto section =
      leafSection(CertificateMaker("x").extension("subjectAltName", "RID:1.2.3,DNS:b.example"));
  EXPECT_THAT(valuesOf(section, ""), Contains("Names of other kinds, not shown: 1."));
}

TEST(CertificateSections, ShowValidityAndHowFarOutsideItNowIs) {
  const auto section = leafSection(CertificateMaker("x").notAfter("20260520000000Z"));
  EXPECT_THAT(valuesOf(section, "valid from"), ElementsAre("2020-01-01T00:00:00Z"));
  EXPECT_THAT(valuesOf(section, "valid to"), ElementsAre("2026-05-20T00:00:00Z"));
  EXPECT_THAT(valuesOf(section, "now"), ElementsAre("it expired 12 days ago"));
}

TEST(CertificateSections, SayNothingOfNowInsideTheValidity) {
  EXPECT_THAT(valuesOf(leafSection(CertificateMaker("x")), "now"), IsEmpty());
}

TEST(CertificateSections, SayThatATimeIsNone) {
  const auto section = leafSection(CertificateMaker("x").malformedNotAfter());
  EXPECT_THAT(valuesOf(section, "valid to"), ElementsAre("(not a time)"));
}

TEST(CertificateSections, GroupTheFingerprint) {
  EXPECT_THAT(valuesOf(leafSection(CertificateMaker("x")), "SHA-256"),
              ElementsAre(MatchesRegex("([0-9A-F]{4} ){15}[0-9A-F]{4}")));
}

TEST(CertificateSections, ShowTheKindOfKeyAndTheSerial) {
  const auto section = leafSection(CertificateMaker("x").serial({0xab, 1}));
  EXPECT_THAT(valuesOf(section, "key"), ElementsAre("elliptic curve, 256 bits"));
  EXPECT_THAT(valuesOf(section, "serial"), ElementsAre("ab01"));
}

TEST(CertificateSections, CarryTheWarningsThatSitOnThem) {
  const Chain c;
  const TestCertificate leaf =
      CertificateMaker("a.example").issuedBy(c.inter).notAfter("20260520000000Z").make();
  const auto sections = certificates(inputOf({leaf, c.inter, c.root}, Warning::CERT_EXPIRY));
  EXPECT_THAT(valuesOf(sections.at(0), "warning"), ElementsAre(HasSubstr("expired")));
  EXPECT_THAT(valuesOf(sections.at(1), "warning"), IsEmpty());
}

}  // namespace
