#include "trustlib/CertificateWarnings.h"

#include <list>
#include <string>

#include <gtest/gtest.h>

namespace {

std::list<std::string> namesOf(unsigned long long warnings) {
  std::list<std::string> names;
  CertificateWarnings::appendNames(warnings, &names);
  return names;
}

TEST(CertificateWarnings, EveryBitHasItsNameInAscendingOrder) {
  const std::list<std::string> all = {"BC_NOT_CRITICAL",
                                      "BC_PATH_LENGTH",
                                      "UNKNOWN_CRITICAL_EXT",
                                      "CERT_EXPIRY",
                                      "KU_MISSING",
                                      "KU_INVALID",
                                      "BC_MISSING",
                                      "BC_NOT_CA",
                                      "NO_TRUSTED",
                                      "INVALID_SIGNATURE",
                                      "REVOKED",
                                      "NAME_CONSTRAINTS",
                                      "INVALID_ISSUER",
                                      "DOMAINNAME_MISMATCH"};
  EXPECT_EQ(all, namesOf(0x3FFF));
}

TEST(CertificateWarnings, BitsAreConsecutiveFromOne) {
  for (int i = 0; i < CertificateWarnings::nameCount; ++i) {
    EXPECT_EQ(1ULL << i, CertificateWarnings::names()[i].flag);
  }
}

TEST(CertificateWarnings, FirstAndLastBitGiveTheirNamesInThatOrder) {
  EXPECT_EQ((std::list<std::string>{"BC_NOT_CRITICAL", "DOMAINNAME_MISMATCH"}), namesOf(0x2001));
}

TEST(CertificateWarnings, EmptySetHasNoNames) {
  EXPECT_TRUE(namesOf(0).empty());
}

TEST(CertificateWarnings, BitsAboveTheTableHaveNoName) {
  EXPECT_TRUE(namesOf(0x4000).empty());
  EXPECT_TRUE(namesOf(~0x3FFFULL).empty());
}

TEST(CertificateWarnings, NamesAreAppendedToTheList) {
  std::list<std::string> names = {"first"};
  CertificateWarnings::appendNames(0x400, &names);
  EXPECT_EQ((std::list<std::string>{"first", "REVOKED"}), names);
}

TEST(CertificateWarnings, ServiceNameGivesItsBit) {
  EXPECT_EQ(0x400ULL, CertificateWarnings::fromServiceName("REVOKED"));
  EXPECT_EQ(0x1ULL, CertificateWarnings::fromServiceName("BC_NOT_CRITICAL"));
  EXPECT_EQ(0x1000ULL, CertificateWarnings::fromServiceName("INVALID_ISSUER"));
}

TEST(CertificateWarnings, ServiceNameInLowerCaseContributesNothing) {
  EXPECT_EQ(0ULL, CertificateWarnings::fromServiceName("revoked"));
}

TEST(CertificateWarnings, ServiceCannotReportADomainMismatch) {
  EXPECT_EQ(0ULL, CertificateWarnings::fromServiceName("DOMAINNAME_MISMATCH"));
}

TEST(CertificateWarnings, UnknownServiceNameContributesNothing) {
  EXPECT_EQ(0ULL, CertificateWarnings::fromServiceName("REVOKED "));
  EXPECT_EQ(0ULL, CertificateWarnings::fromServiceName(""));
}

}  // namespace
