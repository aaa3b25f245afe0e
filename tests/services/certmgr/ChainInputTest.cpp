#include "services/certmgr/ChainInput.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/CertificateMaker.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Throws.h"

namespace {

class ChainInputTest : public testing::Test {
 protected:
  ChainInputTest() : one_(CertificateMaker("One").make()), two_(CertificateMaker("Two").make()) {}

  TemporaryDirectory files_;
  TestCertificate one_;
  TestCertificate two_;
};

TEST_F(ChainInputTest, DerFileGivesItsCertificate) {
  const std::string file = files_.write("one.der", one_.derString());
  const auto chain = readChain({file});
  ASSERT_EQ(1U, chain.size());
  EXPECT_EQ(file, chain[0].file);
  EXPECT_EQ(one_.derString(), chain[0].der);
}

TEST_F(ChainInputTest, PemFileGivesAllOfItsCertificatesInTheirOrder) {
  const auto chain = readChain({files_.write("all.pem", two_.pem() + one_.pem())});
  ASSERT_EQ(2U, chain.size());
  EXPECT_EQ(two_.derString(), chain[0].der);
  EXPECT_EQ(one_.derString(), chain[1].der);
}

TEST_F(ChainInputTest, TextBeforeAPemBlockDoesNotMatter) {
  EXPECT_EQ(1U, readChain({files_.write("one.pem", "0 One\n" + one_.pem())}).size());
}

TEST_F(ChainInputTest, FilesGiveTheirCertificatesInTheOrderTheyAreNamed) {
  const auto chain =
      readChain({files_.write("two.pem", two_.pem()), files_.write("one.der", one_.derString())});
  ASSERT_EQ(2U, chain.size());
  EXPECT_EQ(two_.derString(), chain[0].der);
}

TEST_F(ChainInputTest, FileWithoutACertificateIsRefused) {
  const std::string file = files_.write("key.pem", one_.keyPem());
  EXPECT_THROWS((void)readChain({file}), std::runtime_error,
                "cannot use the file " + file + ": it holds no certificate in DER or PEM form");
}

TEST_F(ChainInputTest, DamagedPemBlockIsRefused) {
  const std::string file = files_.write(
      "bad.pem", one_.pem() + "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n");
  EXPECT_THROWS((void)readChain({file}), std::runtime_error,
                "cannot use the file " + file + ": a PEM block in it cannot be read");
}

TEST_F(ChainInputTest, FileThatIsMissingIsRefused) {
  EXPECT_THROWS((void)readChain({files_.path("gone")}), std::runtime_error,
                "cannot use the file " + files_.path("gone") + ": No such file or directory");
}

}  // namespace
