#include "services/dialog/model/ExceptionComparison.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CertificateMaker.h"

namespace {

using testing::ElementsAre;
using Change = CertificateChange;

struct World {
  TestCertificate root = CertificateMaker("Root").asCa().make();
  TestCertificate inter = CertificateMaker("Inter").asCa().issuedBy(root).make();
  TestCertificate leaf = CertificateMaker("a.example").issuedBy(inter).make();
  TestCertificate renewed =
      CertificateMaker("a.example").serial({2}).key(leaf.key()).issuedBy(inter).make();
  TestCertificate other = CertificateMaker("a.example").issuedBy(inter).make();
};

std::vector<ChainMember> chainOf(const std::vector<TestCertificate>& certificates) {
  std::vector<CertificateDer> ders;
  for (const TestCertificate& certificate : certificates) {
    ders.push_back(certificate.der());
  }
  return readChain(ders);
}

std::vector<Change> changes(const std::vector<TestCertificate>& now,
                            const std::vector<TestCertificate>& then) {
  std::vector<Change> all;
  for (const CertificateDifference& part : compareChains(chainOf(now), chainOf(then))) {
    all.push_back(part.change);
  }
  return all;
}

TEST(CompareChains, FindsNoChangeInTheSameChain) {
  const World w;
  EXPECT_THAT(changes({w.leaf, w.inter}, {w.leaf, w.inter}),
              ElementsAre(Change::none, Change::none));
}

TEST(CompareChains, TellsARenewalFromAnotherKey) {
  const World w;
  EXPECT_THAT(changes({w.renewed, w.inter}, {w.leaf, w.inter}),
              ElementsAre(Change::renewedKeyKept, Change::none));
  EXPECT_THAT(changes({w.other, w.inter}, {w.leaf, w.inter}),
              ElementsAre(Change::keyChanged, Change::none));
}

TEST(CompareChains, TellsWhatWasAddedAndWhatIsGone) {
  const World w;
  EXPECT_THAT(changes({w.leaf, w.inter, w.root}, {w.leaf, w.inter}),
              ElementsAre(Change::none, Change::none, Change::added));
  EXPECT_THAT(changes({w.leaf}, {w.leaf, w.inter}), ElementsAre(Change::none, Change::gone));
}

TEST(CompareChains, TellsWhatStandsElsewhere) {
  const World w;
  EXPECT_THAT(changes({w.leaf, w.root, w.inter}, {w.leaf, w.inter, w.root}),
              ElementsAre(Change::none, Change::moved, Change::moved));
  EXPECT_THAT(changes({w.leaf, w.root}, {w.leaf, w.inter, w.root}),
              ElementsAre(Change::none, Change::moved, Change::gone));
}

TEST(CompareChains, TellsAllPlaces) {
  const World w;
  const auto parts = compareChains(chainOf({w.leaf, w.root}), chainOf({w.leaf, w.inter, w.root}));
  ASSERT_EQ(3U, parts.size());
  EXPECT_EQ(1U, parts[1].now);
  EXPECT_EQ(2U, parts[1].then);
  EXPECT_EQ(std::nullopt, parts[2].now);
  EXPECT_EQ(1U, parts[2].then);
}

}  // namespace
