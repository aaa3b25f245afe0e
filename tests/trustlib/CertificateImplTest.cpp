#include "trustlib/CertificateImpl.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tests/trustlib/NullDerCertificate.h"

namespace {

const unsigned char bytes[] = {0x30, 0x82, 0xFF, 0x00};
const unsigned char otherBytes[] = {0x30, 0x82, 0xFF, 0x01};

TEST(CertificateImpl, KeepsItsOwnCopyOfTheBytes) {
  std::string source("abc");
  const CertificateImpl certificate(reinterpret_cast<const unsigned char*>(source.data()), 3);
  source.assign("xyz");
  EXPECT_EQ("abc", std::string(reinterpret_cast<const char*>(certificate.getDer()),
                               certificate.getDerLength()));
}

TEST(CertificateImpl, NullBytesMakeAnEmptyCertificateWhateverTheLength) {
  const CertificateImpl certificate(nullptr, 77);
  EXPECT_EQ(0U, certificate.getDerLength());
}

TEST(CertificateImpl, CertificatesFromNullBytesAreEqual) {
  const CertificateImpl first(nullptr, 0);
  const CertificateImpl second(nullptr, 5);
  EXPECT_TRUE(first.compare(&second));
}

TEST(CertificateImpl, CertificateOfLengthZeroEqualsOneFromNull) {
  const CertificateImpl empty(bytes, 0);
  const CertificateImpl null(nullptr, 0);
  EXPECT_TRUE(empty.compare(&null));
  EXPECT_TRUE(null.compare(&empty));
}

TEST(CertificateImpl, EqualBytesCompareEqual) {
  const CertificateImpl first(bytes, sizeof(bytes));
  const CertificateImpl second(bytes, sizeof(bytes));
  EXPECT_TRUE(first.compare(&second));
}

TEST(CertificateImpl, NothingEqualsNull) {
  const CertificateImpl certificate(bytes, sizeof(bytes));
  EXPECT_FALSE(certificate.compare(nullptr));
}

TEST(CertificateImpl, BytesOfEqualLengthButOtherContentDiffer) {
  const CertificateImpl first(bytes, sizeof(bytes));
  const CertificateImpl second(otherBytes, sizeof(otherBytes));
  EXPECT_FALSE(first.compare(&second));
}

TEST(CertificateImpl, PrefixOfTheBytesDiffers) {
  const CertificateImpl first(bytes, sizeof(bytes));
  const CertificateImpl second(bytes, sizeof(bytes) - 1);
  EXPECT_FALSE(first.compare(&second));
}

TEST(CertificateImpl, AnotherImplementationIsComparedThroughItsInterface) {
  const CertificateImpl empty(nullptr, 0);
  const NullDerCertificate nullDer;
  EXPECT_FALSE(empty.compare(&nullDer)) << "exactly one of the pointers is NULL";
}

TEST(CertificateImpl, CloneHasOtherMemoryAndTheSameBytes) {
  const CertificateImpl certificate(bytes, sizeof(bytes));
  const std::unique_ptr<Certificate> clone(certificate.clone());
  EXPECT_NE(certificate.getDer(), clone->getDer());
  EXPECT_TRUE(certificate.compare(clone.get()));
}

TEST(CertificateImpl, IsDeletedThroughItsRootClass) {
  Object* object = new CertificateImpl(bytes, sizeof(bytes));
  delete object;  // the leak checkers are the judges
}

}  // namespace
