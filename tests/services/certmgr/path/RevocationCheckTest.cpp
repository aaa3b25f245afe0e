#include "services/certmgr/path/RevocationCheck.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/Digest.h"
#include "tests/services/certmgr/path/ListMaker.h"
#include "tests/services/certmgr/path/MadeCertificate.h"

namespace {

using namespace std::string_view_literals;

constexpr std::int64_t kNow = 1767225600;  // 2026-01-01T00:00:00Z
constexpr const char* kLeafRevoked =
    "0 revoked: serial 07 on the list of CN=Inter, 2021-01-01T00:00:00Z\n";

CertificatePtr parsed(const TestCertificate& certificate) {
  return ParsedCertificate::parse(certificate.derString());
}

std::string context(unsigned number, std::string_view content) {
  return derElement(DerReader::context(number, true), content);
}

std::string uri(std::string_view text) {
  return derElement(DerReader::context(6), text);
}

std::string directory(const TestCertificate& certificate) {
  return context(4, subjectOf(certificate));
}

// A DistributionPointName of full names, in its [0].
std::string pointName(const std::string& names) {
  return context(0, context(0, names));
}

// One whose name is below the issuer's: CN=`commonName`.
std::string relativePointName(std::string_view commonName) {
  constexpr unsigned char kUtf8String = 0x0c;
  return context(
      0, context(1, derElement(DerReader::kSequence, derElement(DerReader::kOid, kCommonName) +
                                                         derElement(kUtf8String, commonName))));
}

std::string flag(unsigned number) {
  return derElement(DerReader::context(number), "\xff");
}

// leaf 07 <- Inter <- Root, an anchor
class RevocationCheck : public testing::Test {
 protected:
  RevocationCheck() { trust(root); }

  void trust(const TestCertificate& certificate, Anchor::Use use = Anchor::Use::unrestricted) {
    store.add(Anchor{parsed(certificate), use});
  }

  static CertificateMaker leafBy(const TestCertificate& issuer) {
    CertificateMaker maker("leaf.example");
    return maker.asServer().serial({7}).issuedBy(issuer);
  }

  // The leaf, with a distribution point of that content.
  TestCertificate leafAt(const std::string& point) const {
    const std::string points =
        derElement(DerReader::kSequence, derElement(DerReader::kSequence, point));
    return leafBy(inter).extension("crlDistributionPoints", "DER:" + hexOf(points)).make();
  }

  std::string check(const TestCertificate& certificate,
                    const std::vector<TestCertificate>& others = {}) {
    return checkPath({certificate, inter, root}, others);
  }

  std::string checkPath(const std::vector<TestCertificate>& path,
                        const std::vector<TestCertificate>& others,
                        std::int64_t units = Budget::kDefault) {
    std::vector<CertificatePtr> members(path.size());
    std::transform(path.begin(), path.end(), members.begin(), parsed);
    std::vector<CertificatePtr> along(others.size());
    std::transform(others.begin(), others.end(), along.begin(), parsed);
    Budget budget(units);
    SignatureMemory signatures(100);
    std::vector<Finding> findings;
    checkRevocation(members, along, store, moment, budget, signatures, findings);
    std::string text;
    for (const Finding& finding : findings) {
      text += std::to_string(finding.member) + " " + std::string(nameOf(finding.reason)) + ": " +
              finding.evidence + "\n";
    }
    return text;
  }

  TrustStore store;
  Moment moment{kNow};
  const TestCertificate root = CertificateMaker("Root").asCa().make();
  const TestCertificate inter = CertificateMaker("Inter").asCa().serial({3}).issuedBy(root).make();
  const TestCertificate leaf = leafBy(inter).make();
};

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

TEST_F(RevocationCheck, ListedLeafIsRevoked) {
  store.add(ListMaker(inter).revoke("\x07").make());
  EXPECT_EQ(kLeafRevoked, check(leaf));
}

TEST_F(RevocationCheck, EvidenceHasTheReason) {
  store.add(ListMaker(inter).revoke("\x07", 1).make());
  EXPECT_EQ(
      "0 revoked: serial 07 on the list of CN=Inter, 2021-01-01T00:00:00Z, reason keyCompromise\n",
      check(leaf));
}

TEST_F(RevocationCheck, ListedIssuerIsRevoked) {
  store.add(ListMaker(root).revoke("\x03").make());
  EXPECT_EQ("1 revoked: serial 03 on the list of CN=Root, 2021-01-01T00:00:00Z\n", check(leaf));
}

TEST_F(RevocationCheck, NobodyIsRevokedWithoutLists) {
  EXPECT_EQ("", check(leaf));
}

TEST_F(RevocationCheck, ListThatNamesOthersProvesNothing) {
  store.add(ListMaker(inter).revoke("\x08").make());
  EXPECT_EQ("", check(leaf));
}

TEST_F(RevocationCheck, SameSerialNumberOfAnotherIssuerProvesNothing) {
  store.add(ListMaker(root).revoke("\x07").make());
  EXPECT_EQ("", check(leaf));
}

// In force.

TEST_F(RevocationCheck, ListWithoutAnEndProvesNothing) {
  store.add(ListMaker(inter).revoke("\x07").nextUpdate("").make());
  EXPECT_EQ("", check(leaf));
}

TEST_F(RevocationCheck, ListProvesInItsLastSecond) {
  store.add(ListMaker(inter).revoke("\x07").nextUpdate("260101000000Z").make());
  EXPECT_EQ(kLeafRevoked, check(leaf));
}

TEST_F(RevocationCheck, ListProvesNothingAfterItsLastSecond) {
  store.add(ListMaker(inter).revoke("\x07").nextUpdate("251231235959Z").make());
  EXPECT_EQ("", check(leaf));
}

TEST_F(RevocationCheck, ListProvesFromItsFirstSecond) {
  store.add(ListMaker(inter).revoke("\x07").thisUpdate("260101000000Z").make());
  EXPECT_EQ(kLeafRevoked, check(leaf));
}

TEST_F(RevocationCheck, ListProvesNothingBeforeItsFirstSecond) {
  store.add(ListMaker(inter).revoke("\x07").thisUpdate("260101000001Z").make());
  EXPECT_EQ("", check(leaf));
}

TEST_F(RevocationCheck, VerdictHoldsNoLongerThanTheList) {
  store.add(ListMaker(inter).revoke("\x07").nextUpdate("260101000010Z").make());
  EXPECT_EQ(kLeafRevoked, check(leaf));
  EXPECT_EQ(kNow + 11, moment.until());
}

TEST_F(RevocationCheck, VerdictHoldsUntilAListOfTheFutureBegins) {
  store.add(ListMaker(inter).revoke("\x07").thisUpdate("260101000010Z").make());
  EXPECT_EQ("", check(leaf));
  EXPECT_EQ(kNow + 10, moment.until());
}

// Who signs.

TEST_F(RevocationCheck, ForgedListProvesNothing) {
  store.add(ListMaker(inter).revoke("\x07").signedWith(TestKey::makeEc()).make());
  EXPECT_EQ("", check(leaf));
}

TEST_F(RevocationCheck, IssuerThatMayNotSignListsProvesNothing) {
  const TestCertificate mute =
      CertificateMaker("Inter").asCa().keyUsage("critical,keyCertSign").issuedBy(root).make();
  const TestCertificate muteLeaf = leafBy(mute).make();
  store.add(ListMaker(mute).revoke("\x07").make());
  EXPECT_EQ("", checkPath({muteLeaf, mute, root}, {}));
}

TEST_F(RevocationCheck, IssuerWithoutKeyUsageMaySignLists) {
  const TestCertificate plain =
      CertificateMaker("Inter").basicConstraints("critical,CA:TRUE").issuedBy(root).make();
  const TestCertificate plainLeaf = leafBy(plain).make();
  store.add(ListMaker(plain).revoke("\x07").make());
  EXPECT_EQ(kLeafRevoked, checkPath({plainLeaf, plain, root}, {}));
}

TEST_F(RevocationCheck, OtherKeyOfTheIssuerByTheSameAuthorityMaySign) {
  const TestCertificate listKey =
      CertificateMaker("Inter").keyUsage("critical,cRLSign").issuedBy(root).make();
  store.add(ListMaker(listKey).revoke("\x07").make());
  EXPECT_EQ(kLeafRevoked, check(leaf, {listKey}));
}

TEST_F(RevocationCheck, OtherKeyThatTheIssuerAppointedMaySign) {
  const TestCertificate listKey =
      CertificateMaker("Inter").keyUsage("critical,cRLSign").issuedBy(inter).make();
  store.add(ListMaker(listKey).revoke("\x07").make());
  EXPECT_EQ(kLeafRevoked, check(leaf, {listKey}));
}

TEST_F(RevocationCheck, OtherKeyThatNobodyVouchesForMayNotSign) {
  const TestCertificate listKey = CertificateMaker("Inter").asCa().make();
  store.add(ListMaker(listKey).revoke("\x07").make());
  EXPECT_EQ("", check(leaf, {listKey}));
}

TEST_F(RevocationCheck, OtherKeyMayNotSignAfterItsTime) {
  const TestCertificate listKey = CertificateMaker("Inter")
                                      .keyUsage("critical,cRLSign")
                                      .notAfter("20251231235959Z")
                                      .issuedBy(root)
                                      .make();
  store.add(ListMaker(listKey).revoke("\x07").make());
  EXPECT_EQ("", check(leaf, {listKey}));
}

TEST_F(RevocationCheck, AnchorOfTheIssuersNameMaySign) {
  const TestCertificate listKey = CertificateMaker("Inter").asCa().make();
  trust(listKey);
  store.add(ListMaker(listKey).revoke("\x07").make());
  EXPECT_EQ(kLeafRevoked, check(leaf));
}

TEST_F(RevocationCheck, AnchorThatIsRefusedMayNotSign) {
  const TestCertificate listKey = CertificateMaker("Inter").asCa().make();
  trust(listKey, Anchor::Use::refused);
  store.add(ListMaker(listKey).revoke("\x07").make());
  EXPECT_EQ("", check(leaf));
}

TEST_F(RevocationCheck, NewKeyOfTheIssuerHigherUpThePathMaySign) {
  const TestCertificate oldWithNew =
      CertificateMaker("Inter").asCa().serial({4}).issuedBy(inter).make();
  const TestCertificate oldLeaf = leafBy(oldWithNew).make();
  store.add(ListMaker(inter).revoke("\x07").make());
  EXPECT_EQ(kLeafRevoked, checkPath({oldLeaf, oldWithNew, inter, root}, {}));
}

// The end of the path.

TEST_F(RevocationCheck, LeafThatIsAnAnchorIsRevokedByAnAnchor) {
  trust(inter);
  store.add(ListMaker(inter).revoke("\x07").make());
  EXPECT_EQ(kLeafRevoked, checkPath({leaf}, {}));
}

TEST_F(RevocationCheck, AnchorIsNotRevokedByOneThatOnlyBearsItsIssuersName) {
  const TestCertificate namesake = CertificateMaker("Inter").asCa().make();
  trust(namesake);
  store.add(ListMaker(namesake).revoke("\x07").make());
  EXPECT_EQ("", checkPath({leaf}, {}));
}

// What is not understood.

TEST_F(RevocationCheck, ListWithAnUnknownCriticalExtensionProvesNothing) {
  store.add(ListMaker(inter).revoke("\x07").extension("\x2a\x03", true, "\x05\x00"sv).make());
  EXPECT_EQ("", check(leaf));
}

TEST_F(RevocationCheck, UnknownCriticalExtensionOfOneEntrySpoilsTheWholeList) {
  store.add(ListMaker(inter)
                .revoke("\x01", extensionDer("\x2a\x03", true, "\x05\x00"sv))
                .revoke("\x07")
                .make());
  EXPECT_EQ("", check(leaf));
}

// Scopes.

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

// Holds and changes.

class HeldLeaf : public RevocationCheck {
 protected:
  const std::string held =
      "0 revoked: serial 07 on the list of CN=Inter, 2021-01-01T00:00:00Z, reason "
      "certificateHold\n";
  const std::string added = kLeafRevoked;
};

TEST_F(HeldLeaf, IsRevoked) {
  store.add(ListMaker(inter).number(5).revoke("\x07", 6).make());
  EXPECT_EQ(held, check(leaf));
}

TEST_F(HeldLeaf, IsReleasedByALaterChange) {
  store.add(ListMaker(inter).number(5).revoke("\x07", 6).make());
  store.add(ListMaker(inter).number(6).changesTo(5).revoke("\x07", 8).make());
  EXPECT_EQ("", check(leaf));
}

TEST_F(HeldLeaf, IsNotReleasedByAChangeBeforeTheList) {
  store.add(ListMaker(inter).number(5).revoke("\x07", 6).make());
  store.add(ListMaker(inter).number(5).changesTo(4).revoke("\x07", 8).make());
  EXPECT_EQ(held, check(leaf));
}

TEST_F(HeldLeaf, IsNotReleasedByAChangeToALaterList) {
  store.add(ListMaker(inter).number(5).revoke("\x07", 6).make());
  store.add(ListMaker(inter).number(7).changesTo(6).revoke("\x07", 8).make());
  EXPECT_EQ(held, check(leaf));
}

TEST_F(HeldLeaf, IsNotReleasedByAChangeOfAnotherScope) {
  store.add(ListMaker(inter).number(5).revoke("\x07", 6).make());
  store.add(ListMaker(inter).number(6).changesTo(5).scope(flag(1)).revoke("\x07", 8).make());
  EXPECT_EQ(held, check(leaf));
}

TEST_F(HeldLeaf, IsNotReleasedByAStaleChange) {
  store.add(ListMaker(inter).number(5).revoke("\x07", 6).make());
  store.add(
      ListMaker(inter).number(6).changesTo(5).revoke("\x07", 8).nextUpdate("251231000000Z").make());
  EXPECT_EQ(held, check(leaf));
}

TEST_F(HeldLeaf, IsNotReleasedByAForgedChange) {
  store.add(ListMaker(inter).number(5).revoke("\x07", 6).make());
  store.add(ListMaker(inter)
                .number(6)
                .changesTo(5)
                .revoke("\x07", 8)
                .signedWith(TestKey::makeEc())
                .make());
  EXPECT_EQ(held, check(leaf));
}

TEST_F(HeldLeaf, IsNotReleasedByACompleteList) {
  store.add(ListMaker(inter).number(5).revoke("\x07", 6).make());
  store.add(ListMaker(inter).number(6).revoke("\x07", 8).make());
  EXPECT_EQ(held, check(leaf));
}

TEST_F(HeldLeaf, RevocationForGoodIsNotTakenBack) {
  store.add(ListMaker(inter).number(5).revoke("\x07").make());
  store.add(ListMaker(inter).number(6).changesTo(5).revoke("\x07", 8).make());
  EXPECT_EQ(added, check(leaf));
}

TEST_F(HeldLeaf, ChangeThatAddsTheLeafProves) {
  store.add(ListMaker(inter).number(6).changesTo(5).revoke("\x07").make());
  EXPECT_EQ(added, check(leaf));
}

TEST_F(HeldLeaf, ReleaseAloneProvesNothing) {
  store.add(ListMaker(inter).number(6).changesTo(5).revoke("\x07", 8).make());
  EXPECT_EQ("", check(leaf));
}

// One answer.

TEST_F(RevocationCheck, OfSeveralListsTheOneOfTheSmallestFingerprintIsShown) {
  const RevocationListPtr first = ListMaker(inter).revoke("\x07", 1).make();
  const RevocationListPtr second = ListMaker(inter).revoke("\x07", 4).make();
  store.add(first);
  store.add(second);
  const std::string shown =
      first->fingerprint < second->fingerprint ? "reason keyCompromise" : "reason superseded";
  EXPECT_TRUE(check(leaf).ends_with(shown + "\n"));
}

TEST_F(RevocationCheck, SpentBudgetIsAFinding) {
  store.add(ListMaker(inter).revoke("\x07").make());
  EXPECT_EQ("0 gave_up: the revocation lists are too many\n",
            checkPath({leaf, inter, root}, {}, 10));
}

}  // namespace
