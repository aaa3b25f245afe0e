#include "trustlib/CertificateTrustInfoImpl.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/trustlib/Chains.h"

namespace {

TEST(CertificateTrustInfoImpl, SaysWhatItWasMadeFrom) {
  const std::string domain("host.test");
  Chain chain{"leaf", "root"};
  const CertificateTrustInfoImpl info(true, 0x108, &domain, chain.list(), true);
  EXPECT_TRUE(info.isValid());
  EXPECT_EQ(0x108ULL, info.getWarnings());
  EXPECT_EQ("host.test", *info.getDomainName());
  EXPECT_TRUE(info.isException());
  EXPECT_EQ(bytesOf(*chain.list()), bytesOf(*info.getCertificateChain()));
}

TEST(CertificateTrustInfoImpl, RevokedBitAloneMakesItRevokedEvenWhenValid) {
  const CertificateTrustInfoImpl info(true, 0x400, nullptr, nullptr, true);
  EXPECT_TRUE(info.isRevoked());
}

TEST(CertificateTrustInfoImpl, OtherBitsDoNotMakeItRevoked) {
  const CertificateTrustInfoImpl info(false, ~0x400ULL, nullptr, nullptr, false);
  EXPECT_FALSE(info.isRevoked());
}

TEST(CertificateTrustInfoImpl, NullDomainStaysNull) {
  const CertificateTrustInfoImpl info(true, 0, nullptr, nullptr, false);
  EXPECT_EQ(nullptr, info.getDomainName());
}

TEST(CertificateTrustInfoImpl, EmptyDomainIsNotNull) {
  const std::string empty;
  const CertificateTrustInfoImpl info(true, 0, &empty, nullptr, false);
  ASSERT_NE(nullptr, info.getDomainName());
  EXPECT_EQ("", *info.getDomainName());
}

TEST(CertificateTrustInfoImpl, DomainIsItsOwnCopy) {
  std::string domain("host.test");
  const CertificateTrustInfoImpl info(true, 0, &domain, nullptr, false);
  domain = "changed";
  EXPECT_EQ("host.test", *info.getDomainName());
}

TEST(CertificateTrustInfoImpl, ChainOutlivesTheOneItWasMadeFrom) {
  auto* chain = new Chain{"leaf"};
  const CertificateTrustInfoImpl info(true, 0, nullptr, chain->list(), false);
  delete chain;
  EXPECT_EQ((std::vector<std::string>{"leaf"}), bytesOf(*info.getCertificateChain()));
}

TEST(CertificateTrustInfoImpl, NullChainMakesAnEmptyOne) {
  const CertificateTrustInfoImpl info(true, 0, nullptr, nullptr, false);
  ASSERT_NE(nullptr, info.getCertificateChain());
  EXPECT_TRUE(info.getCertificateChain()->empty());
}

}  // namespace
