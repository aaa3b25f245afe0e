#include "trustlib/CertificateExceptionStoreFactory.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/ServiceWorld.h"
#include "tests/support/Throws.h"
#include "tests/trustlib/Chains.h"
#include "trustlib/CertificateExceptionImpl.h"

namespace fs = std::filesystem;

namespace {

class StoreFactory : public testing::Test {
 protected:
  ~StoreFactory() override { CertificateExceptionStoreFactory::clean(); }

  static CertificateExceptionStore* get(const std::string& path) {
    return CertificateExceptionStoreFactory::getCertificiateExceptionStore(&path);
  }

  ServiceWorld world;
  Chain chain{"leaf"};
  CertificateExceptionImpl record{4, nullptr, chain.list()};
};

TEST_F(StoreFactory, EqualPathsShareOneStore) {
  EXPECT_EQ(get(world.root() + "/a"), get(world.root() + "/a"));
}

TEST_F(StoreFactory, SpellingsOfOneDirectoryAreTwoStores) {
  EXPECT_NE(get(world.root() + "/a"), get(world.root() + "/a/"));
}

TEST_F(StoreFactory, NullPathIsRefused) {
  EXPECT_THROWS(CertificateExceptionStoreFactory::getCertificiateExceptionStore(nullptr),
                TrustManagerException,
                "FileCertificateExceptionStore: Invalid directory path - NULL");
}

TEST_F(StoreFactory, LocalStoreLiesInTheHomeDirectory) {
  CertificateExceptionStore* store =
      CertificateExceptionStoreFactory::getLocalCertificiateExceptionStore();
  EXPECT_EQ(store, get(world.home() + "/vallorin/certexcept"));
  EXPECT_TRUE(fs::is_directory(world.home() + "/vallorin/certexcept"));
}

TEST_F(StoreFactory, FailedStoreIsMadeAtTheNextCall) {
  const std::string path = world.root() + "/file/store";
  std::ofstream(world.root() + "/file").flush();
  const std::string message =
      "FileUtilities::createDirectory - path is not a directory: " + world.root() + "/file";
  EXPECT_THROWS(get(path), TrustManagerException, message);
  EXPECT_THROWS(get(path), TrustManagerException, message);
  fs::remove(world.root() + "/file");
  EXPECT_TRUE(get(path)->addException(&record));
}

TEST_F(StoreFactory, CleanPassesOverAFailedStore) {
  std::ofstream(world.root() + "/file").flush();
  EXPECT_THROW(get(world.root() + "/file/store"), TrustManagerException);
  get(world.root() + "/z")->addException(&record);
  CertificateExceptionStoreFactory::clean();
  EXPECT_TRUE(fs::is_empty(world.root() + "/z"));
}

TEST_F(StoreFactory, CleanRemovesTheRecordsFromDisk) {
  get(world.root() + "/a")->addException(&record);
  get(world.root() + "/b")->addException(&record);
  CertificateExceptionStoreFactory::clean();
  EXPECT_TRUE(fs::is_empty(world.root() + "/a"));
  EXPECT_TRUE(fs::is_empty(world.root() + "/b"));
  EXPECT_FALSE(get(world.root() + "/a")->exceptionExists(&record));
}

TEST_F(StoreFactory, CleanThatFailsLeavesOnlyStoresThatAreStillGood) {
  get(world.root() + "/a");
  CertificateExceptionStore* second = get(world.root() + "/b");
  fs::create_directories(world.root() + "/b/full.json/inside");
  EXPECT_THROWS(CertificateExceptionStoreFactory::clean(), TrustManagerException,
                "FileUtilities::deleteFile - failed: Directory not empty");
  EXPECT_EQ(second, get(world.root() + "/b"));
  EXPECT_TRUE(second->addException(&record));
  EXPECT_TRUE(get(world.root() + "/a")->addException(&record));
  fs::remove_all(world.root() + "/b/full.json");
}

}  // namespace
