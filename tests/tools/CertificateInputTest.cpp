#include "tools/trustctl/CertificateInput.h"

#include <openssl/pem.h>
#include <openssl/x509.h>

#include <functional>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CertificateMaker.h"
#include "tests/tools/Pkcs7Maker.h"
#include "tools/trustctl/CommandError.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class CertificateInput : public testing::Test {
 protected:
  CertificateInput()
      : root_(CertificateMaker("Root").asCa().make()),
        inter_(CertificateMaker("Inter").asCa().serial({2}).issuedBy(root_).make()),
        leaf_(CertificateMaker("leaf").asServer().serial({3}).issuedBy(inter_).make()) {}

  static std::vector<CertificateDer> parse(const std::string& bytes) {
    return parseCertificates(bytes, "'input'");
  }

  // The complaint about an input that must be refused as wrong use.
  static std::string refusal(const std::string& bytes) {
    try {
      parse(bytes);
    } catch (const CommandError& error) {
      EXPECT_EQ(ExitStatus::wrongUse, error.status());
      return error.what();
    }
    return "(accepted)";
  }

  TestCertificate root_;
  TestCertificate inter_;
  TestCertificate leaf_;
};

TEST_F(CertificateInput, ReadsOnePemCertificate) {
  EXPECT_THAT(parse(leaf_.pem()), ElementsAre(leaf_.der()));
}

TEST_F(CertificateInput, KeepsTheOrderOfAPemFile) {
  EXPECT_THAT(parse(inter_.pem() + leaf_.pem()), ElementsAre(inter_.der(), leaf_.der()));
}

TEST_F(CertificateInput, SkipsTextAndKeysAroundPemCertificates) {
  EXPECT_THAT(parse("Server certificate\n" + leaf_.keyPem() + leaf_.pem() + "---\n" + inter_.pem() +
                    "Verify return code: 0\n"),
              ElementsAre(leaf_.der(), inter_.der()));
}

TEST_F(CertificateInput, TakesCarriageReturnsAndAByteOrderMark) {
  std::string pem = "\xEF\xBB\xBF";
  for (const char c : leaf_.pem()) {
    pem += c == '\n' ? "\r\n" : std::string(1, c);
  }
  EXPECT_THAT(parse(pem), ElementsAre(leaf_.der()));
}

TEST_F(CertificateInput, ReadsOneDerCertificate) {
  EXPECT_THAT(parse(leaf_.derString()), ElementsAre(leaf_.der()));
}

TEST_F(CertificateInput, PutsTheLeafOfABagFirst) {
  EXPECT_THAT(parse(pkcs7Der({root_, inter_, leaf_})),
              ElementsAre(leaf_.der(), root_.der(), inter_.der()));
}

TEST_F(CertificateInput, PutsTheLeafOfAPemBagFirst) {
  EXPECT_THAT(parse(pkcs7Pem({inter_, leaf_})), ElementsAre(leaf_.der(), inter_.der()));
}

TEST_F(CertificateInput, PrefersAServerAmongSeveralThatIssuedNothing) {
  const TestCertificate strayCa = CertificateMaker("Stray").asCa().make();
  EXPECT_THAT(parse(pkcs7Der({strayCa, inter_, leaf_})),
              ElementsAre(leaf_.der(), strayCa.der(), inter_.der()));
}

TEST_F(CertificateInput, KeepsTheOnlyCertificateOfABag) {
  EXPECT_THAT(parse(pkcs7Der({root_})), ElementsAre(root_.der()));
}

TEST_F(CertificateInput, ReadsOpenSslsTrustedForm) {
  BIO* out = BIO_new(BIO_s_mem());
  PEM_write_bio_X509_AUX(out, leaf_.get());
  char* data = nullptr;
  const long length = BIO_get_mem_data(out, &data);
  const std::string pem(data, static_cast<std::size_t>(length));
  BIO_free_all(out);
  ASSERT_THAT(pem, StartsWith("-----BEGIN TRUSTED CERTIFICATE-----"));
  EXPECT_THAT(parse(pem), ElementsAre(leaf_.der()));
}

TEST_F(CertificateInput, TakesPemBehindTextThatBeginsLikeDer) {
  EXPECT_THAT(parse("0 s:CN = leaf\n" + leaf_.pem()), ElementsAre(leaf_.der()));
}

TEST_F(CertificateInput, NamesTheEncodingThatItCannotRead) {
  std::string wide = "\xFF\xFE";
  for (const char c : leaf_.pem()) {
    wide += c;
    wide += '\0';
  }
  EXPECT_THAT(refusal(wide), StartsWith("'input' is text in UTF-16"));
}

TEST_F(CertificateInput, RefusesText) {
  EXPECT_THAT(refusal("hello\n"), StartsWith("'input' holds no certificate"));
}

TEST_F(CertificateInput, RefusesTextThatOnlyTalksOfPem) {
  EXPECT_THAT(refusal("look for -----BEGIN here\n"), StartsWith("'input' holds no certificate"));
}

TEST_F(CertificateInput, SaysThatAPemKeyIsAKey) {
  EXPECT_THAT(refusal(leaf_.keyPem()), StartsWith("'input' is a private key"));
}

TEST_F(CertificateInput, SaysThatADerKeyIsAKey) {
  unsigned char* der = nullptr;
  const int length = i2d_PrivateKey(leaf_.key().get(), &der);
  const std::string key(reinterpret_cast<char*>(der), static_cast<std::size_t>(length));
  OPENSSL_free(der);
  EXPECT_THAT(refusal(key), StartsWith("'input' is a private key"));
}

TEST_F(CertificateInput, SaysThatARevocationListIsOne) {
  const CrlMaker list(root_);
  const Bytes der = list.der();
  EXPECT_THAT(refusal(list.pem()), HasSubstr("--crlfile"));
  EXPECT_THAT(refusal(std::string(der.begin(), der.end())), HasSubstr("--crlfile"));
}

TEST_F(CertificateInput, SaysThatAForeignPemIsForeign) {
  EXPECT_THAT(refusal("-----BEGIN DH PARAMETERS-----\nMAYCAQUCAQI=\n-----END DH PARAMETERS-----\n"),
              HasSubstr("only 'DH PARAMETERS'"));
}

TEST_F(CertificateInput, RefusesHalfAPemBlock) {
  const std::string pem = leaf_.pem();
  EXPECT_THAT(refusal(pem.substr(0, pem.size() / 2)), HasSubstr("cut short"));
}

TEST_F(CertificateInput, RefusesAChainWhoseLastBlockIsCutShort) {
  const std::string pem = inter_.pem();
  EXPECT_THAT(refusal(leaf_.pem() + pem.substr(0, pem.size() / 2)), HasSubstr("PEM block 2"));
}

TEST_F(CertificateInput, RefusesAFileWhoseFirstHalfIsMissing) {
  const std::string pem = leaf_.pem();
  EXPECT_THAT(refusal(pem.substr(pem.size() / 2) + inter_.pem()), HasSubstr("cut short"));
}

TEST_F(CertificateInput, RefusesAFileThatBeginsInTheMiddleOfAnEndLine) {
  EXPECT_THAT(refusal("--END CERTIFICATE-----\n" + inter_.pem()), HasSubstr("cut short"));
}

TEST_F(CertificateInput, RefusesABeginThatIsNotAtTheStartOfALine) {
  EXPECT_THAT(refusal("x" + leaf_.pem() + inter_.pem()), HasSubstr("is damaged"));
}

TEST_F(CertificateInput, RefusesABeginWithFourDashes) {
  EXPECT_THAT(refusal(leaf_.pem().substr(1) + inter_.pem()), HasSubstr("is damaged"));
}

TEST_F(CertificateInput, RefusesABrokenLastBegin) {
  std::string last = inter_.pem();
  last.replace(last.find("BEGIN"), 5, "BEGAN");
  EXPECT_THAT(refusal(leaf_.pem() + last), HasSubstr("is damaged"));
}

TEST_F(CertificateInput, SaysThatBeginMustNotBeIndented) {
  EXPECT_THAT(refusal("  " + leaf_.pem()), HasSubstr("at the start of its line"));
}

TEST_F(CertificateInput, TakesWhatAClientPrintsWithTheCertificates) {
  const std::string text =
      "CONNECTED(00000003)\n---\nCertificate chain\n 0 s:O = BACK-END Ltd, CN = leaf\n"
      "   i:CN = Inter\n" +
      leaf_.pem() + " 1 s:CN = Inter\n   i:CN = Root\n" + inter_.pem() +
      "---\nServer certificate\nsubject=CN = leaf\n\nissuer=CN = Inter\n\n---\n"
      "No client certificate CA names sent\n";
  EXPECT_THAT(parse(text), ElementsAre(leaf_.der(), inter_.der()));
}

TEST_F(CertificateInput, RefusesAPemBlockWithOtherContent) {
  EXPECT_THAT(refusal("-----BEGIN CERTIFICATE-----\naGVsbG8=\n-----END CERTIFICATE-----\n"),
              HasSubstr("is damaged"));
}

TEST_F(CertificateInput, RefusesAPemBlockWithSomethingBehindTheCertificate) {
  BIO* out = BIO_new(BIO_s_mem());
  Bytes longer = leaf_.der();
  longer.push_back(0);
  PEM_write_bio(out, "CERTIFICATE", "", longer.data(), static_cast<long>(longer.size()));
  char* data = nullptr;
  const long length = BIO_get_mem_data(out, &data);
  const std::string pem(data, static_cast<std::size_t>(length));
  BIO_free_all(out);
  EXPECT_THAT(refusal(pem), HasSubstr("is damaged"));
}

TEST_F(CertificateInput, RefusesBytesAfterDer) {
  EXPECT_THAT(refusal(leaf_.derString() + "xyz"), HasSubstr("has 3 bytes after"));
}

TEST_F(CertificateInput, RefusesHalfADerCertificate) {
  EXPECT_THAT(refusal(leaf_.derString().substr(0, 200)), HasSubstr("cut short"));
}

TEST_F(CertificateInput, RefusesABagWithoutCertificates) {
  EXPECT_THAT(refusal(pkcs7Der({})), HasSubstr("PKCS#7 file without a certificate"));
}

TEST_F(CertificateInput, TakesAsManyCertificatesAsAChainMayHold) {
  std::string pem;
  for (std::size_t i = 0; i < maxCertificates; ++i) {
    pem += leaf_.pem();
  }
  EXPECT_EQ(maxCertificates, parse(pem).size());
}

TEST_F(CertificateInput, RefusesMoreThanAChainMayHold) {
  std::string pem;
  for (std::size_t i = 0; i <= maxCertificates; ++i) {
    pem += leaf_.pem();
  }
  EXPECT_THAT(refusal(pem), HasSubstr("more than 32 certificates"));
}

TEST_F(CertificateInput, RefusesABagWithMoreThanAChainMayHold) {
  std::vector<TestCertificate> many;
  const TestKey key = TestKey::makeEc();
  for (std::size_t i = 0; i <= maxCertificates; ++i) {
    many.push_back(
        CertificateMaker("leaf").key(key).serial({static_cast<unsigned char>(i + 1)}).make());
  }
  EXPECT_THAT(refusal(pkcs7Der(many)), HasSubstr("more than 32 certificates"));
}

TEST_F(CertificateInput, RefusesStandardInputTwice) {
  EXPECT_THROW(readCertificates({"-", "-"}), CommandError);
}

}  // namespace
