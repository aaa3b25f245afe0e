// Holds, and lists of changes.

#include <string>

#include <gtest/gtest.h>

#include "tests/services/certmgr/path/RevocationFixture.h"

namespace {

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

}  // namespace
