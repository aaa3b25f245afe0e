#include "services/certmgr/TrustStores.h"

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/CertificateMaker.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

struct Name {
  std::string text;
  bool accepted;
};
class StoreName : public testing::TestWithParam<Name> {};
TEST_P(StoreName, IsAcceptedOnlyWhenItCannotLeadElsewhere) {
  EXPECT_EQ(GetParam().accepted, TrustStores::isStoreName(GetParam().text));
}
INSTANTIATE_TEST_SUITE_P(Accepted, StoreName,
                         testing::Values(Name{"common", true}, Name{"user_trusted", true},
                                         Name{"A b", true}, Name{"a.b", true}, Name{"a..", true},
                                         Name{std::string(64, 'a'), true}));
INSTANTIATE_TEST_SUITE_P(Refused, StoreName,
                         testing::Values(Name{"", false}, Name{".", false}, Name{"..", false},
                                         Name{".hidden", false}, Name{"a/b", false},
                                         Name{"a\nb", false}, Name{"a\x7f", false},
                                         Name{std::string("a\0b", 3), false},
                                         Name{std::string(65, 'a'), false}));

class TrustStoresTest : public testing::Test {
 protected:
  TrustStoresTest() : root(CertificateMaker("Root").asCa().make()) {}
  bool isAnchor(const TrustSources& sources) const {
    return TrustStores(sources).get("a", "b")->find(root.get()) != nullptr;
  }
  TemporaryDirectory directory_;
  TestCertificate root;
};

TEST_F(TrustStoresTest, MissingDirectoryHasNoAnchors) {
  EXPECT_FALSE(isAnchor({.root = directory_.path("nowhere")}));
}

TEST_F(TrustStoresTest, RefusedNameIsAnError) {
  TrustStores stores({.root = directory_.path()});
  EXPECT_THROW(stores.get("..", "b"), std::runtime_error);
}

TEST_F(TrustStoresTest, OnlyHashedNamesCountInAStore) {
  directory_.write("a/b/root.pem", root.pem());
  EXPECT_FALSE(isAnchor({.root = directory_.path()}));
}

TEST_F(TrustStoresTest, DirectoryNamedLikeAFileIsPassedOver) {
  directory_.write("a/b/00000000.0/x", "");
  addToHashedDirectory(directory_.path("a/b"), root);
  EXPECT_TRUE(isAnchor({.root = directory_.path()}));
}

TEST_F(TrustStoresTest, BrokenFileDoesNotStopTheOthers) {
  directory_.write("a/b/00000000.0", "-----BEGIN CERTIFICATE-----\nAAAA\n");
  addToHashedDirectory(directory_.path("a/b"), root);
  EXPECT_TRUE(isAnchor({.root = directory_.path()}));
}

TEST_F(TrustStoresTest, UnchangedStoreIsLoadedOnce) {
  // This source file holds no anchor, but is surely older than a moment.
  TrustStores stores({.root = directory_.path("nowhere"), .files = {__FILE__}});
  EXPECT_EQ(stores.get("a", "b"), stores.get("A", "B"));
}

TEST_F(TrustStoresTest, StoresOfDifferentNamesAreApart) {
  TrustStores stores({.root = directory_.path("nowhere"), .files = {__FILE__}});
  EXPECT_NE(stores.get("a", "b"), stores.get("a", "c"));
}

}  // namespace
