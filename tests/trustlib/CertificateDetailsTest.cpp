#include "trustlib/CertificateDetails.h"

#include <gtest/gtest.h>

namespace {

TEST(CertificateDetails, StartsInvalidWithoutWarningsAndEmpty) {
  CertificateDetails details("ab");
  EXPECT_FALSE(details.isValid());
  EXPECT_EQ(0ULL, details.getWarnings());
  EXPECT_EQ("ab", *details.getSerialNumber());
  EXPECT_TRUE(details.getCommonNames()->empty());
  EXPECT_TRUE(details.getSubjectAltNames()->empty());
  EXPECT_TRUE(details.getCertificateChain()->empty());
}

TEST(CertificateDetails, NullSerialNumberStaysNull) {
  CertificateDetails details(nullptr);
  EXPECT_EQ(nullptr, details.getSerialNumber());
}

TEST(CertificateDetails, WarningsAreOnlyEverAdded) {
  CertificateDetails details(nullptr);
  details.addWarnings(0x8);
  details.addWarnings(0x100);
  details.addWarnings(0);
  EXPECT_EQ(0x108ULL, details.getWarnings());
}

TEST(CertificateDetails, ListsAreFilledThroughTheirPointers) {
  CertificateDetails details(nullptr);
  details.getCommonNames()->push_back("cn");
  details.getSubjectAltNames()->push_back("DNS:san");
  details.getCertificateChain()->push_back("/path");
  EXPECT_EQ("cn", details.getCommonNames()->front());
  EXPECT_EQ("DNS:san", details.getSubjectAltNames()->front());
  EXPECT_EQ("/path", details.getCertificateChain()->front());
}

TEST(CertificateDetails, ValidityCanBeSetAndTakenBack) {
  CertificateDetails details(nullptr);
  details.setValid(true);
  EXPECT_TRUE(details.isValid());
  details.setValid(false);
  EXPECT_FALSE(details.isValid());
}

}  // namespace
