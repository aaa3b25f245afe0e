// What a list is for, and lists of others.

#include <string>

#include <gtest/gtest.h>

#include "tests/services/certmgr/path/RevocationFixture.h"

namespace {

using namespace std::string_view_literals;

TEST_F(RevocationCheck, ListOfUserCertificatesProvesForALeaf) {
  store.add(ListMaker(inter).scope(flag(1)).revoke("\x07").make());
  EXPECT_EQ(kLeafRevoked, check(leaf));
}

TEST_F(RevocationCheck, ListOfUserCertificatesProvesNothingForACa) {
  store.add(ListMaker(root).scope(flag(1)).revoke("\x03").make());
  EXPECT_EQ("", check(leaf));
}

TEST_F(RevocationCheck, ListOfCasProvesForACa) {
  store.add(ListMaker(root).scope(flag(2)).revoke("\x03").make());
  EXPECT_EQ("1 revoked: serial 03 on the list of CN=Root, 2021-01-01T00:00:00Z\n", check(leaf));
}

TEST_F(RevocationCheck, ListOfCasProvesNothingForALeaf) {
  store.add(ListMaker(inter).scope(flag(2)).revoke("\x07").make());
  EXPECT_EQ("", check(leaf));
}

TEST_F(RevocationCheck, ListOfAttributeCertificatesProvesNothing) {
  store.add(ListMaker(inter).scope(flag(5)).revoke("\x07").make());
  EXPECT_EQ("", check(leaf));
}

TEST_F(RevocationCheck, ListForSomeReasonsProvesWhatItLists) {
  const std::string reasons = derElement(DerReader::context(3), "\x06\x40"sv);
  store.add(ListMaker(inter).scope(reasons).revoke("\x07").make());
  EXPECT_EQ(kLeafRevoked, check(leaf));
}

TEST_F(RevocationCheck, ListOfTheLeafsPointProves) {
  store.add(ListMaker(inter).scope(pointName(uri("http://a/1"))).revoke("\x07").make());
  EXPECT_EQ(kLeafRevoked, check(leafAt(pointName(uri("ldap://x") + uri("http://a/1")))));
}

TEST_F(RevocationCheck, ListOfAnotherPointProvesNothing) {
  store.add(ListMaker(inter).scope(pointName(uri("http://a/1"))).revoke("\x07").make());
  EXPECT_EQ("", check(leafAt(pointName(uri("http://a/2")))));
}

TEST_F(RevocationCheck, ListOfAPointProvesForALeafWithoutPoints) {
  store.add(ListMaker(inter).scope(pointName(uri("http://a/1"))).revoke("\x07").make());
  EXPECT_EQ(kLeafRevoked, check(leaf));
}

TEST_F(RevocationCheck, ListWithoutAPointProvesForALeafOfAnyPoint) {
  store.add(ListMaker(inter).revoke("\x07").make());
  EXPECT_EQ(kLeafRevoked, check(leafAt(pointName(uri("http://a/2")))));
}

TEST_F(RevocationCheck, RelativePointNameIsOneBelowTheIssuer) {
  store.add(ListMaker(inter).scope(relativePointName("1")).revoke("\x07").make());
  const std::string full = nameDer({{kCommonName, "Inter"}, {kCommonName, "1"}});
  EXPECT_EQ(kLeafRevoked, check(leafAt(pointName(context(4, full)))));
}

TEST_F(RevocationCheck, OtherRelativePointNameIsAnotherPoint) {
  store.add(ListMaker(inter).scope(relativePointName("1")).revoke("\x07").make());
  EXPECT_EQ("", check(leafAt(relativePointName("2"))));
}

// Lists of others.

class IndirectList : public RevocationCheck {
 protected:
  ListMaker listBy(const TestCertificate& issuer) const {
    return ListMaker(issuer).scope(flag(4)).revoke("\x07", certificateIssuer(inter));
  }
  const TestCertificate lister =
      CertificateMaker("Lister").keyUsage("critical,cRLSign").issuedBy(root).make();
  const TestCertificate referringLeaf = leafAt(context(2, directory(lister)));
  const std::string revoked =
      "0 revoked: serial 07 on the list of CN=Lister, 2021-01-01T00:00:00Z\n";
};

TEST_F(IndirectList, ProvesForALeafThatRefersToItsIssuer) {
  store.add(listBy(lister).make());
  EXPECT_EQ(revoked, check(referringLeaf, {lister}));
}

TEST_F(IndirectList, ProvesNothingForALeafThatDoesNotReferToItsIssuer) {
  store.add(listBy(lister).make());
  EXPECT_EQ("", check(leaf, {lister}));
}

TEST_F(IndirectList, ProvesNothingWhenItIsNotCalledIndirect) {
  store.add(ListMaker(lister).revoke("\x07").make());
  EXPECT_EQ("", check(referringLeaf, {lister}));
}

TEST_F(IndirectList, EntryOfItsOwnIssuerProvesNothing) {
  store.add(ListMaker(lister).scope(flag(4)).revoke("\x07").make());
  EXPECT_EQ("", check(referringLeaf, {lister}));
}

TEST_F(IndirectList, ProvesNothingWhenNobodyVouchesForItsIssuer) {
  const TestCertificate stranger = CertificateMaker("Lister").asCa().make();
  store.add(listBy(stranger).make());
  EXPECT_EQ("", check(referringLeaf, {stranger}));
}

TEST_F(IndirectList, AnchorMayIssueIt) {
  const TestCertificate anchor = CertificateMaker("Lister").asCa().make();
  trust(anchor);
  store.add(listBy(anchor).make());
  EXPECT_EQ(revoked, check(referringLeaf));
}

TEST_F(IndirectList, OfTheIssuerItselfProvesItsOwnEntries) {
  store.add(ListMaker(inter)
                .scope(flag(4))
                .revoke("\x07")
                .revoke("\x08", certificateIssuer(root))
                .make());
  EXPECT_EQ(kLeafRevoked, check(leaf));
}

TEST_F(IndirectList, OfTheIssuerItselfProvesNothingByTheEntriesOfOthers) {
  store.add(ListMaker(inter)
                .scope(flag(4))
                .revoke("\x08", certificateIssuer(root))
                .revoke("\x07")
                .make());
  EXPECT_EQ("", check(leaf));
}

TEST_F(IndirectList, OfAnotherPointProvesNothing) {
  store.add(ListMaker(lister)
                .scope(pointName(uri("http://a/1")) + flag(4))
                .revoke("\x07", certificateIssuer(inter))
                .make());
  const TestCertificate at2 = leafAt(pointName(uri("http://a/2")) + context(2, directory(lister)));
  EXPECT_EQ("", check(at2, {lister}));
}

TEST_F(RevocationCheck, EachDistributionPointCosts) {
  store.add(ListMaker(inter).scope(pointName(uri("https://a.example/list"))).make());
  std::string points;
  for (int i = 0; i < 50; ++i) {
    points += derElement(DerReader::kSequence, pointName(uri("https://b.example/list")));
  }
  const std::string all = hexOf(derElement(DerReader::kSequence, points));
  const TestCertificate scattered =
      leafBy(inter).extension("crlDistributionPoints", "DER:" + all).make();
  EXPECT_EQ("", checkPath({leaf, inter, root}, {}, 20'000));
  EXPECT_EQ("0 gave_up: the revocation lists are too many\n",
            checkPath({scattered, inter, root}, {}, 20'000));
}

}  // namespace
