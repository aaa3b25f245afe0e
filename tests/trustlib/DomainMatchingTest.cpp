#include <list>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "trustlib/CertificateUtilities.h"

namespace {

using Names = std::list<std::string>;

struct Case {
  std::string name;
  std::string domain;
};

std::ostream& operator<<(std::ostream& out, const Case& matching) {
  return out << "name '" << matching.name << "', domain '" << matching.domain << "'";
}

bool matches(const Case& matching) {
  const Names commonNames = {matching.name};
  return CertificateUtilities::certificateDomainMatches(&matching.domain, &commonNames, nullptr);
}

class CoveredDomain : public testing::TestWithParam<Case> {};

TEST_P(CoveredDomain, Matches) {
  EXPECT_TRUE(matches(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    DomainMatching, CoveredDomain,
    testing::Values(Case{"host.zone.tld", "HOST.Zone.TLD"}, Case{"*.zone.tld", "host.zone.tld"},
                    Case{"host*.zone.tld", "host.zone.tld"},
                    Case{"host*.zone.tld", "host1.zone.tld"}, Case{"*.tld", "zone.tld"},
                    Case{"*", "localhost"}, Case{"*.zone.tld", "host.zone.tld."},
                    Case{"10.1.1.1", "10.1.1.1"},  // equality needs no shape
                    Case{"global trustee", "Global Trustee"},
                    Case{"host.*.tld", "HOST.*.tld"},  // a star compares as itself too
                    Case{"*.*.tld", "a.*.tld"},        // later stars are literal
                    Case{"*.z\xC3\x84.tld", "a.z\xC3\x84.tld"},
                    // labels are trimmed, and empty ones do not count
                    Case{" host* . zone.tld. .", "host1.zone..tld"},
                    Case{"HOST*.zone.tld", "hosting.zone.tld"}));

class UncoveredDomain : public testing::TestWithParam<Case> {};

TEST_P(UncoveredDomain, DoesNotMatch) {
  EXPECT_FALSE(matches(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    DomainMatching, UncoveredDomain,
    testing::Values(Case{"*.zone.tld", "zone.tld"}, Case{"*.zone.tld", "a.b.zone.tld"},
                    Case{"host*.zone.tld", "hos.zone.tld"}, Case{"*t.zone.tld", "hot.zone.tld"},
                    Case{"h*t.zone.tld", "hot.zone.tld"}, Case{"host.*.tld", "host.zone.tld"},
                    Case{"*.10.1.1", "1.10.1.1"}, Case{"*.0", "a.0"}, Case{"*.9x", "a.9x"},
                    Case{"host.zone.tld", "host.zone.tld."}, Case{"", "zone.tld"},
                    Case{"zone.tld", ""}, Case{"", ""}, Case{"**.zone.tld", "a.zone.tld"},
                    Case{"a**.zone.tld", "ab.zone.tld"}, Case{"*.*.tld", "a.b.tld"},
                    Case{"*", "a.b"}, Case{"*.zone.tld", "."}, Case{".", "a"},
                    Case{"*.zone.9. .", "a.zone.9"}, Case{"*.zone", "a.zone.tld"},
                    Case{"*.zone.tld", "a.zone"}, Case{"*.z\xC3\x84.tld", "a.z\xC3\xA4.tld"}));

TEST(DomainMatching, NullDomainMatchesNothing) {
  const Names names = {"*"};
  EXPECT_FALSE(CertificateUtilities::certificateDomainMatches(
      static_cast<const std::string*>(nullptr), &names, &names));
}

TEST(DomainMatching, NullAndEmptyDomainListsMatchNothing) {
  const Names names = {"*"};
  const Names empty;
  EXPECT_FALSE(CertificateUtilities::certificateDomainMatches(static_cast<const Names*>(nullptr),
                                                              &names, &names));
  EXPECT_FALSE(CertificateUtilities::certificateDomainMatches(&empty, &names, &names));
}

TEST(DomainMatching, CertificateWithoutNamesMatchesNothing) {
  const std::string domain("zone.tld");
  const Names empty;
  EXPECT_FALSE(CertificateUtilities::certificateDomainMatches(&domain, nullptr, nullptr));
  EXPECT_FALSE(CertificateUtilities::certificateDomainMatches(&domain, &empty, &empty));
}

TEST(DomainMatching, OneDnsNameSilencesTheCommonNames) {
  const std::string domain("b.zone.tld");
  const Names commonNames = {"b.zone.tld"};
  const Names altNames = {"DNS:a.zone.tld", "IP Address:10.0.0.1"};
  EXPECT_FALSE(CertificateUtilities::certificateDomainMatches(&domain, &commonNames, &altNames));
}

TEST(DomainMatching, EmptyDnsNameSilencesTheCommonNamesToo) {
  const std::string domain("b.zone.tld");
  const Names commonNames = {"b.zone.tld"};
  const Names altNames = {"DNS:"};
  EXPECT_FALSE(CertificateUtilities::certificateDomainMatches(&domain, &commonNames, &altNames));
}

TEST(DomainMatching, WithoutADnsNameTheCommonNamesCount) {
  const std::string domain("b.zone.tld");
  const Names commonNames = {"a.zone.tld", "b.zone.tld"};
  const Names altNames = {"IP Address:10.0.0.1", "email:a@b", "URI:https://c"};
  EXPECT_TRUE(CertificateUtilities::certificateDomainMatches(&domain, &commonNames, &altNames));
}

TEST(DomainMatching, LowerCaseDnsPrefixIsNoDnsName) {
  const std::string domain("a.zone.tld");
  const Names altNames = {"dns:a.zone.tld"};
  EXPECT_FALSE(CertificateUtilities::certificateDomainMatches(&domain, nullptr, &altNames));
}

TEST(DomainMatching, ColonBelongsToTheDnsPrefix) {
  const std::string domain("a.zone.tld");
  const Names commonNames = {"a.zone.tld"};
  const Names altNames = {"DNSX:b.zone.tld"};
  EXPECT_TRUE(CertificateUtilities::certificateDomainMatches(&domain, &commonNames, &altNames));
}

TEST(DomainMatching, DnsNameIsTakenAsItStands) {
  const std::string domain("a.zone.tld");
  const Names altNames = {"DNS: a.zone.tld"};
  EXPECT_FALSE(CertificateUtilities::certificateDomainMatches(&domain, nullptr, &altNames));
}

TEST(DomainMatching, AnyOfSeveralDomainsWillDo) {
  const Names domains = {"", "x.tld", "b.zone.tld"};
  const Names altNames = {"DNS:a.zone.tld", "DNS:*.zone.tld"};
  EXPECT_TRUE(CertificateUtilities::certificateDomainMatches(&domains, nullptr, &altNames));
}

}  // namespace
