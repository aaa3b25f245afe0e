#include "services/certmgr/path/RevocationCheck.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/services/certmgr/path/RevocationFixture.h"

namespace {

using namespace std::string_view_literals;

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
