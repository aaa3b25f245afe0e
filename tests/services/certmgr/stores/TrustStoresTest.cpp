#include "services/certmgr/stores/TrustStores.h"

#include <sys/resource.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/CertificateMaker.h"
#include "tests/support/SlowBuild.h"
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

// Holds no anchor, but is surely older than a moment.
constexpr char kOldFile[] = TRUSTLIB_SOURCE_DIR "/LICENSE";

class TrustStoresTest : public testing::Test {
 protected:
  TrustStoresTest() : root(CertificateMaker("Root").asCa().make()) {}
  bool isAnchor(const TrustSources& sources) const {
    return holdsRoot(TrustStores(sources).get("a", "b"));
  }
  bool holdsRoot(const std::shared_ptr<const TrustStore>& store) const {
    return store->find(*ParsedCertificate::parse(root.derString())) != nullptr;
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
  TrustStores stores({.root = directory_.path("nowhere"), .files = {kOldFile}});
  EXPECT_EQ(stores.get("a", "b"), stores.get("A", "B"));
}

TEST_F(TrustStoresTest, StoresOfDifferentNamesAreApart) {
  addToHashedDirectory(directory_.path("a/b"), root);
  TrustStores stores({.root = directory_.path()});
  EXPECT_TRUE(holdsRoot(stores.get("a", "b")));
  EXPECT_FALSE(holdsRoot(stores.get("a", "c")));
}

TEST_F(TrustStoresTest, StoresWithoutFilesOfTheirOwnAreOne) {
  TrustStores stores({.root = directory_.path("nowhere"), .files = {kOldFile}});
  EXPECT_EQ(stores.get("a", "b"), stores.get("a", "c"));
  EXPECT_EQ(1U, stores.loads());
}

TEST_F(TrustStoresTest, NamesThatAreMadeUpPushOutNoStore) {
  TrustStores stores({.root = directory_.path("nowhere"), .files = {kOldFile}});
  const auto before = stores.get("a", "b");
  for (int i = 0; i < 100; ++i) stores.get("a", std::to_string(i));
  EXPECT_EQ(before, stores.get("a", "b"));
  EXPECT_EQ(1U, stores.loads());
}

// No file can be opened as long as one of these lives.
class NoDescriptorsLeft {
 public:
  NoDescriptorsLeft() {
    ::getrlimit(RLIMIT_NOFILE, &before_);
    const rlimit none = {0, before_.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &none);
  }
  ~NoDescriptorsLeft() { ::setrlimit(RLIMIT_NOFILE, &before_); }
  NoDescriptorsLeft(const NoDescriptorsLeft&) = delete;
  NoDescriptorsLeft& operator=(const NoDescriptorsLeft&) = delete;

 private:
  rlimit before_ = {};
};

TEST_F(TrustStoresTest, FileThatCouldNotBeReadIsTriedAgain) {
  if (kSanitized) GTEST_SKIP() << "the sanitizer takes descriptors of its own and fails without";
  TrustStores stores({.root = directory_.path("nowhere"), .files = {kOldFile}});
  std::shared_ptr<const TrustStore> before;
  {
    const NoDescriptorsLeft full;
    before = stores.get("a", "b");
  }
  std::filesystem::create_directory(directory_.path("nowhere"));  // so that it looks again
  EXPECT_NE(before, stores.get("a", "b"));
}

TEST_F(TrustStoresTest, FileThatStaysUnreadableChangesNothing) {
  if (kSanitized) GTEST_SKIP() << "the sanitizer takes descriptors of its own and fails without";
  TrustStores stores({.root = directory_.path("nowhere"), .files = {kOldFile}});
  const NoDescriptorsLeft full;
  const auto before = stores.get("a", "b");
  std::filesystem::create_directory(directory_.path("nowhere"));
  EXPECT_EQ(before, stores.get("a", "b"));
}

TEST_F(TrustStoresTest, NewFileIsSeenByTheNextRequest) {
  TrustStores stores({.root = directory_.path()});
  stores.get("a", "b");
  addToHashedDirectory(directory_.path("a/b"), root);
  EXPECT_TRUE(holdsRoot(stores.get("a", "b")));
}

TEST_F(TrustStoresTest, RemovedFileIsSeenByTheNextRequest) {
  const std::string file = addToHashedDirectory(directory_.path("a/b"), root);
  TrustStores stores({.root = directory_.path()});
  EXPECT_TRUE(holdsRoot(stores.get("a", "b")));
  std::filesystem::remove(file);
  EXPECT_FALSE(holdsRoot(stores.get("a", "b")));
}

TEST_F(TrustStoresTest, FileWrittenOverInPlaceIsSeenByTheNextRequest) {
  const std::string other = CertificateMaker("Soor").asCa().make().pem();
  directory_.write("a/b/00000000.0", other);
  TrustStores stores({.root = directory_.path()});
  EXPECT_FALSE(holdsRoot(stores.get("a", "b")));
  directory_.write("a/b/00000000.0", root.pem());
  EXPECT_TRUE(holdsRoot(stores.get("a", "b")));
}

TEST_F(TrustStoresTest, DirectoryPutInPlaceOfAnotherIsSeenByTheNextRequest) {
  directory_.write("a/b/00000000.0", "nothing");
  TrustStores stores({.root = directory_.path()});
  stores.get("a", "b");
  addToHashedDirectory(directory_.path("a/new"), root);
  std::filesystem::rename(directory_.path("a/b"), directory_.path("a/old"));
  std::filesystem::rename(directory_.path("a/new"), directory_.path("a/b"));
  EXPECT_TRUE(holdsRoot(stores.get("a", "b")));
}

TEST_F(TrustStoresTest, ChangeBehindALinkIsSeenByTheNextRequest) {
  const std::string target = directory_.write("elsewhere/root.pem", "nothing");
  std::filesystem::create_directories(directory_.path("a/b"));
  std::filesystem::create_symlink(target, directory_.path("a/b/00000000.0"));
  TrustStores stores({.root = directory_.path()});
  EXPECT_FALSE(holdsRoot(stores.get("a", "b")));
  directory_.write("elsewhere/root.pem", root.pem());
  EXPECT_TRUE(holdsRoot(stores.get("a", "b")));
}

TEST_F(TrustStoresTest, ForgottenStoreIsLoadedAnew) {
  TrustStores stores({.root = directory_.path("nowhere"), .files = {kOldFile}});
  const auto before = stores.get("a", "b");
  stores.forget();
  EXPECT_NE(before, stores.get("a", "b"));
}

TEST_F(TrustStoresTest, StoreInUseStaysAsItWasWhenItsFilesChange) {
  TrustStores stores({.root = directory_.path()});
  const auto before = stores.get("a", "b");
  addToHashedDirectory(directory_.path("a/b"), root);
  stores.get("a", "b");
  EXPECT_FALSE(holdsRoot(before));
}

}  // namespace
