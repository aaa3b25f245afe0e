#include "trustlib/CertificateUtilities.h"

#include <filesystem>
#include <fstream>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Throws.h"
#include "tests/trustlib/Chains.h"
#include "tests/trustlib/NullDerCertificate.h"

namespace {

TEST(CertificateUtilities, ClearingNullDoesNothing) {
  EXPECT_NO_THROW(CertificateUtilities::clearCertificateChain(nullptr));
}

TEST(CertificateUtilities, ClearingDeletesEveryElementAndEmptiesTheList) {
  static int deleted = 0;
  class Counted : public NullDerCertificate {
   public:
    ~Counted() override { ++deleted; }
  };
  deleted = 0;
  std::list<Certificate*> chain = {new Counted, nullptr, new Counted};
  CertificateUtilities::clearCertificateChain(&chain);
  EXPECT_EQ(2, deleted);
  EXPECT_TRUE(chain.empty());
}

TEST(CertificateUtilities, CopyingFromOrToNullDoesNothing) {
  Chain chain{"a"};
  EXPECT_NO_THROW(CertificateUtilities::copyCertificateChain(nullptr, chain.list(), true));
  EXPECT_NO_THROW(CertificateUtilities::copyCertificateChain(chain.list(), nullptr, true));
  EXPECT_EQ(1U, chain.list()->size());
}

TEST(CertificateUtilities, DeepCopyOutlivesItsSource) {
  Chain copy;
  {
    Chain source{"leaf", "issuer"};
    CertificateUtilities::copyCertificateChain(source.list(), copy.list(), true);
  }
  EXPECT_EQ((std::vector<std::string>{"leaf", "issuer"}), bytesOf(*copy.list()));
}

TEST(CertificateUtilities, ShallowCopySharesTheCertificates) {
  Chain source{"leaf"};
  std::list<Certificate*> copy;
  CertificateUtilities::copyCertificateChain(source.list(), &copy, false);
  EXPECT_EQ(source.list()->front(), copy.front());
}

TEST(CertificateUtilities, CopyAppendsAfterWhatIsThere) {
  Chain source{"new"};
  Chain destination{"old"};
  CertificateUtilities::copyCertificateChain(source.list(), destination.list(), true);
  EXPECT_EQ((std::vector<std::string>{"old", "new"}), bytesOf(*destination.list()));
}

TEST(CertificateUtilities, AnyOtherExceptionThanTheLibrarysOwnEndsTheProcess) {
  class Throwing : public NullDerCertificate {
    Certificate* clone() const override { throw std::runtime_error("not ours"); }
  };
  Throwing throwing;
  std::list<Certificate*> source = {&throwing};
  std::list<Certificate*> destination;
  EXPECT_DEATH(CertificateUtilities::copyCertificateChain(&source, &destination, true), "");
}

class LoadCertificateChain : public testing::Test {
 protected:
  std::string file(const std::string& name, const std::string& content) {
    std::string path = directory.path(name);
    std::ofstream(path, std::ios::binary) << content;
    return path;
  }

  TemporaryDirectory directory;
};

TEST_F(LoadCertificateChain, NullPathListIsRefused) {
  std::list<Certificate*> chain;
  EXPECT_THROWS(CertificateUtilities::loadCertificateChain(nullptr, &chain), TrustManagerException,
                "CertificateUtilities::loadCertificateChain - NULL certificate chain file path "
                "list");
}

TEST_F(LoadCertificateChain, NullChainIsRefused) {
  const std::list<std::string> paths;
  EXPECT_THROWS(CertificateUtilities::loadCertificateChain(&paths, nullptr), TrustManagerException,
                "CertificateUtilities::loadCertificateChain - NULL certificate chain list");
}

TEST_F(LoadCertificateChain, EmptyPathListLeavesTheChainUnchanged) {
  Chain chain{"old"};
  const std::list<std::string> paths;
  CertificateUtilities::loadCertificateChain(&paths, chain.list());
  EXPECT_EQ(1U, chain.list()->size());
}

TEST_F(LoadCertificateChain, FilesAreTakenAsTheyAreAndAppendedInOrder) {
  Chain chain{"old"};
  const std::list<std::string> paths = {file("1", std::string("le\0af", 5)),
                                        file("2", "-----BEGIN CERTIFICATE-----")};
  CertificateUtilities::loadCertificateChain(&paths, chain.list());
  EXPECT_EQ(
      (std::vector<std::string>{"old", std::string("le\0af", 5), "-----BEGIN CERTIFICATE-----"}),
      bytesOf(*chain.list()));
}

TEST_F(LoadCertificateChain, OneUnreadableFileAmongSeveralThrowsAndReleasesTheRest) {
  std::list<Certificate*> chain;
  const std::list<std::string> paths = {file("1", "leaf"), directory.path("missing"),
                                        file("3", "root")};
  EXPECT_THROWS(CertificateUtilities::loadCertificateChain(&paths, &chain), TrustManagerException,
                "FileUtilities::readFile - failed to open file");
}

TEST(NormalizeSerialNumber, NullOutputDoesNothing) {
  EXPECT_NO_THROW(CertificateUtilities::normalizeSerialNumber("AB", nullptr));
}

TEST(NormalizeSerialNumber, UpperCasePairsWithSpacesBecomeLowerCaseDigits) {
  std::string normalized;
  CertificateUtilities::normalizeSerialNumber("04 7E CB\t\n\v\f\rE9", &normalized);
  EXPECT_EQ("047ecbe9", normalized);
}

TEST(NormalizeSerialNumber, NothingButWhiteSpaceIsRemoved) {
  std::string normalized;
  CertificateUtilities::normalizeSerialNumber("0x00:AB-c", &normalized);
  EXPECT_EQ("0x00:ab-c", normalized);
}

TEST(NormalizeSerialNumber, OutputIsAppendedToAndLowerCasedAsAWhole) {
  std::string normalized("OLD ");
  CertificateUtilities::normalizeSerialNumber("AB", &normalized);
  EXPECT_EQ("old ab", normalized);
}

}  // namespace
