#include "services/common/CertificateView.h"

#include <stdexcept>

#include <openssl/asn1.h>

#include <gtest/gtest.h>

#include "tests/support/CertificateMaker.h"

namespace {

CertificateView view(const CertificateMaker& maker) {
  return viewCertificate(maker.make().der());
}

TEST(CertificateView, ShowsTheCommonNameFirst) {
  EXPECT_EQ("CN=a.example, O=Example Ltd",
            view(CertificateMaker().organization("Example Ltd").commonName("a.example")).subject);
}

TEST(CertificateView, DoesNotLetAValuePassForAPartOfTheName) {
  EXPECT_EQ("CN=a\\x2c O\\x3dBank \\x2b CN\\x3dbank.example",
            view(CertificateMaker("a, O=Bank + CN=bank.example")).subject);
}

TEST(CertificateView, EscapesWhatWouldDraw) {
  EXPECT_EQ("CN=a\\x1b[2J\\u{202e}b", view(CertificateMaker("a\x1b[2J\u202e"
                                                            "b"))
                                          .subject);
}

TEST(CertificateView, ShowsTheBytesOfATextThatIsNoUtf8) {
  EXPECT_EQ("CN=a\\xff",
            view(CertificateMaker().rawCommonName("a\xff", V_ASN1_BIT_STRING)).subject);
}

TEST(CertificateView, ShowsANulInAName) {
  EXPECT_EQ("CN=bank.example\\x00.evil.example",
            view(CertificateMaker(std::string_view("bank.example\0.evil.example", 26))).subject);
}

TEST(CertificateView, ShowsAnEmptyNameAsEmpty) {
  EXPECT_EQ("", view(CertificateMaker()).subject);
}

TEST(CertificateView, WritesTheSerialInWholeBytes) {
  EXPECT_EQ("0abc", view(CertificateMaker("a").serial({0x0a, 0xbc})).serial);
  EXPECT_EQ("ff01", view(CertificateMaker("a").serial({0xff, 0x01})).serial);
}

TEST(CertificateView, WritesASerialOfZero) {
  EXPECT_EQ("00", view(CertificateMaker("a").serial({0})).serial);
}

TEST(CertificateView, MarksANegativeSerial) {
  EXPECT_EQ("-05", view(CertificateMaker("a").serial({5}, true)).serial);
}

TEST(CertificateView, ReadsTimesBeyond32Bit) {
  EXPECT_EQ(1577836800, view(CertificateMaker("a")).notBefore);
  EXPECT_EQ(4102444799, view(CertificateMaker("a")).notAfter);
}

TEST(CertificateView, HasNoTimeWhereThereIsNone) {
  EXPECT_EQ(std::nullopt, view(CertificateMaker("a").malformedNotAfter()).notAfter);
}

TEST(CertificateView, FingerprintsTheDerBytes) {
  EXPECT_EQ(64U, view(CertificateMaker("a")).sha256.size());
  const TestCertificate certificate = CertificateMaker("a").make();
  EXPECT_EQ(viewCertificate(certificate.der()).sha256, viewCertificate(certificate.der()).sha256);
  EXPECT_NE(viewCertificate(certificate.der()).sha256, view(CertificateMaker("a")).sha256);
}

TEST(CertificateView, RefusesWhatIsNoCertificate) {
  EXPECT_THROW(viewCertificate({0x30, 0x00}), std::runtime_error);
}

TEST(CertificateView, ShowsTheKindAndSizeOfTheKey) {
  EXPECT_EQ("elliptic curve, 256 bits", view(CertificateMaker("a")).key);
  EXPECT_EQ("RSA, 2048 bits", view(CertificateMaker("a").key(TestKey::makeRsa())).key);
}

TEST(CertificateView, TellsWhatSignedItself) {
  EXPECT_TRUE(view(CertificateMaker("a")).selfSigned);
}

TEST(CertificateView, ItsOwnNameAsIssuerIsNoSignatureOfItsOwn) {
  EXPECT_FALSE(view(CertificateMaker("a").signedWith(TestKey::makeEc())).selfSigned);
}

TEST(CertificateView, TellsWhatAnotherSigned) {
  const TestCertificate issuer = CertificateMaker("b").make();
  EXPECT_FALSE(view(CertificateMaker("a").issuedBy(issuer)).selfSigned);
}

TEST(IsSignedBy, AsksTheKeyAndNotTheName) {
  const TestCertificate issuer = CertificateMaker("b").make();
  const TestCertificate sameName = CertificateMaker("b").make();
  const TestCertificate certificate = CertificateMaker("a").issuedBy(issuer).make();
  EXPECT_TRUE(isSignedBy(certificate.get(), issuer.get()));
  EXPECT_FALSE(isSignedBy(certificate.get(), sameName.get()));
}

}  // namespace
