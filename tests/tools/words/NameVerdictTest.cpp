#include "tools/trustctl/NameVerdict.h"

#include <algorithm>
#include <list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/CertificateMaker.h"
#include "tools/trustctl/NamedCertificate.h"
#include "trustlib/CertificateUtilities.h"

namespace {

using namespace std::string_literals;  // NOLINT: names with NUL in them
using Kind = CertificateName::Kind;

// Parts that names and domains are put together from: every pair of them is tried.
std::vector<std::string> domains() {
  return {"host.zone.tld",
          "HOST.Zone.TLD",
          "zone.tld",
          "a.b.zone.tld",
          "host1.zone.tld",
          "hos.zone.tld",
          "hot.zone.tld",
          "localhost",
          "host.zone.tld.",
          "1.10.1.1",
          "10.1.1.1",
          "host..zone.tld",
          " host.zone.tld",
          "z\xc3\xb6ne.tld",
          "*.zone.tld",
          "::1",
          "x",
          "9.zone.tld9",
          "host.zone.9tld"};
}

std::vector<std::string> names() {
  return {"host.zone.tld",
          "HOST.zone.TLD",
          "*.zone.tld",
          "*.ZONE.tld",
          "host*.zone.tld",
          "*t.zone.tld",
          "h*t.zone.tld",
          "**.zone.tld",
          "host.*.tld",
          "*.10.1.1",
          "*.tld",
          "*",
          "",
          "zone.tld",
          "10.1.1.1",
          "1.10.1.1",
          "host.zone.tld.",
          "*.zone.tld.",
          ".*.zone.tld",
          "*..zone.tld",
          "*.zone.9tld",
          "*.*.tld",
          "*.zone.tld\0"s,
          "\t*.zone.tld",
          " *.zone.tld",
          "z\xc3\xb6ne.tld",
          "zone\\x.tld",
          "host.zone.tld ",
          "*.zone.tld\n",
          "::1",
          "*.b.zone.tld",
          "h*.ZONE.tld",
          "z\xc2\x85.tld",
          "host.zone.9tld",
          "*.9",
          "9*.zone.tld9"};
}

// What the library says of the names as the certificate service lists them.
bool libraryCovers(const X509* certificate, const std::string& domain) {
  const auto common = commonNamesOf(certificate);
  const auto alternative = subjectAltNamesOf(certificate);
  const std::list<std::string> commonNames(common.begin(), common.end());
  const std::list<std::string> alternativeNames(alternative.begin(), alternative.end());
  return CertificateUtilities::certificateDomainMatches(&domain, &commonNames, &alternativeNames);
}

bool anyCovers(const NameVerdict& verdict) {
  return std::any_of(
      verdict.findings.begin(), verdict.findings.end(),
      [](const NameFinding& finding) { return finding.match.reason == NameReason::covers; });
}

// The reasons must not be put right by the verdict, so matchNameOf is asked itself.
bool anyReasonCovers(const X509* certificate, const std::string& domain) {
  return coversDomain(namesOf(certificate), domain);
}

void expectAgreement(const std::vector<CertificateName>& borne, const std::string& domain) {
  const X509Ptr certificate = certificateWithNames(borne);
  const bool covered = libraryCovers(certificate.get(), domain);
  const NameVerdict verdict = judgeNames(certificate.get(), domain);
  EXPECT_EQ(covered, verdict.covered) << borne.front().text << " and " << domain;
  EXPECT_EQ(covered, anyCovers(verdict)) << borne.front().text << " and " << domain;
  EXPECT_EQ(covered, anyReasonCovers(certificate.get(), domain))
      << borne.front().text << " and " << domain;
}

TEST(NameVerdict, CoversByADnsNameWhereTheLibraryDoes) {
  for (const std::string& domain : domains()) {
    for (const std::string& name : names()) {
      expectAgreement({{Kind::dns, name}}, domain);
    }
  }
}

TEST(NameVerdict, CoversByACommonNameWhereTheLibraryDoes) {
  for (const std::string& domain : domains()) {
    for (const std::string& name : names()) {
      expectAgreement({{Kind::commonName, name}}, domain);
    }
  }
}

TEST(NameVerdict, CoversByACommonNameBesideOthersWhereTheLibraryDoes) {
  for (const std::string& domain : domains()) {
    for (const std::string& name : names()) {
      expectAgreement({{Kind::commonName, name}, {Kind::dns, "other.test"}}, domain);
      expectAgreement({{Kind::commonName, name}, {Kind::email, "a@other.test"}}, domain);
    }
  }
}

TEST(NameVerdict, CoversByNamesOfOtherKindsWhereTheLibraryDoes) {
  for (const std::string& domain : domains()) {
    for (const std::string& name : names()) {
      expectAgreement({{Kind::uri, name}}, domain);
      expectAgreement({{Kind::email, name}}, domain);
    }
    expectAgreement({{Kind::address, "10.1.1.1"}}, domain);
  }
}

TEST(NameVerdict, IsNotCoveredByATextThatIsNotOfTheKindItClaims) {
  const std::string noUtf8 = "a\xff.example";
  const X509Ptr certificate = certificateWithNames({{Kind::commonName, noUtf8}});
  const NameVerdict verdict = judgeNames(certificate.get(), noUtf8);
  EXPECT_FALSE(verdict.covered);
  ASSERT_EQ(1U, verdict.findings.size());
  EXPECT_EQ(NameReason::malformed, verdict.findings[0].match.reason);
}

TEST(NameVerdict, TellsUnreadableAlternativeNames) {
  const TestCertificate certificate =
      CertificateMaker("a.example").extension("subjectAltName", "DER:0500").make();
  const NameVerdict verdict = judgeNames(certificate.get(), "a.example");
  EXPECT_FALSE(verdict.covered);
  EXPECT_TRUE(verdict.unreadable);
  EXPECT_EQ(NameReason::notLookedAt, verdict.findings.at(0).match.reason);
}

struct ReasonCase {
  CertificateName name;
  NameReason reason;
};

class ReasonOfName : public testing::TestWithParam<ReasonCase> {};

TEST_P(ReasonOfName, IsTheFirstThingThatKeepsItFromCovering) {
  const auto& [name, reason] = GetParam();
  EXPECT_EQ(reason, matchNameOf({{name}}, name, "www.zone.tld").reason) << name.text;
}

INSTANTIATE_TEST_SUITE_P(
    Table, ReasonOfName,
    testing::Values(ReasonCase{{Kind::dns, "*.zone.tld"}, NameReason::covers},
                    ReasonCase{{Kind::commonName, "www.zone.tld"}, NameReason::covers},
                    ReasonCase{{Kind::uri, "www.zone.tld"}, NameReason::otherKind},
                    ReasonCase{{Kind::email, "a@www.zone.tld"}, NameReason::otherKind},
                    ReasonCase{{Kind::address, "192.0.2.1"}, NameReason::otherKind},
                    ReasonCase{{Kind::dns, ""}, NameReason::malformed},
                    ReasonCase{{Kind::dns, "www.z\xc3\xb6ne.tld"}, NameReason::malformed},
                    ReasonCase{{Kind::dns, "www.*.tld"}, NameReason::starElsewhere},
                    ReasonCase{{Kind::dns, "*w.zone.tld"}, NameReason::starElsewhere},
                    ReasonCase{{Kind::dns, "**.zone.tld"}, NameReason::starElsewhere},
                    ReasonCase{{Kind::dns, "*.zone.1"}, NameReason::endsLikeAddress},
                    ReasonCase{{Kind::dns, "*.tld"}, NameReason::otherLabelCount},
                    ReasonCase{{Kind::dns, "zone.tld"}, NameReason::otherLabelCount},
                    ReasonCase{{Kind::dns, "*.zone.test"}, NameReason::otherLabel},
                    ReasonCase{{Kind::dns, "web.zone.tld"}, NameReason::otherLabel},
                    ReasonCase{{Kind::dns, "web*.zone.tld"}, NameReason::otherStart},
                    ReasonCase{{Kind::dns, "www.zone.tld."}, NameReason::otherSpelling}));

TEST(ReasonOfName, ThatIsCommonIsThatItIsNotLookedAtBesideADnsName) {
  const CertificateNames both = {{{Kind::dns, "a.tld"}, {Kind::commonName, "www.zone.tld"}}};
  EXPECT_EQ(NameReason::notLookedAt, matchNameOf(both, both.names[1], "www.zone.tld").reason);
}

TEST(ReasonOfName, TellsTheLabelsThatDiffer) {
  const NameMatch match = matchName({Kind::dns, "www.Zone.tld"}, "www.ZONES.tld");
  EXPECT_EQ("zone", match.label);
  EXPECT_EQ("zones", match.domainLabel);
}

}  // namespace
