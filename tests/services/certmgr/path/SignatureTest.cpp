#include "services/certmgr/path/Signature.h"

#include <string>

#include <gtest/gtest.h>

#include "services/certmgr/path/Digest.h"
#include "services/certmgr/path/ParsedCertificate.h"
#include "tests/services/certmgr/path/ListMaker.h"
#include "tests/support/CertificateMaker.h"

namespace {

class SignatureTest : public testing::Test {
 protected:
  const TestCertificate root = CertificateMaker("Root").asCa().make();
  const CertificatePtr parsed = ParsedCertificate::parse(root.derString());
};

TEST_F(SignatureTest, LongContentCostsMoreToCheck) {
  const std::string longer(60000, 'x');
  SignedBytes bytes = parsed->signedBytes;
  const std::int64_t usual = checkCost(bytes, *parsed->key);
  bytes.content = longer;
  EXPECT_LT(usual + 60000, checkCost(bytes, *parsed->key));
}

TEST_F(SignatureTest, DigestThatIsKnownIsNotPaidForAgain) {
  SignedBytes bytes = parsed->signedBytes;
  const std::string digest = digestOf(bytes);
  bytes.digest = digest;
  EXPECT_EQ(parsed->key->checkCost(), checkCost(bytes, *parsed->key));
}

TEST_F(SignatureTest, DigestIsThatOfTheAlgorithm) {
  EXPECT_EQ(sha256Of(parsed->signedBytes.content), digestOf(parsed->signedBytes));
}

TEST_F(SignatureTest, AlgorithmThatSignsTheBytesThemselvesHasNoDigest) {
  const TestKey key = TestKey::makeEd25519(Bytes(32, 1));
  const auto other = ParsedCertificate::parse(
      CertificateMaker("Other").asCa().key(key).digest("").make().derString());
  EXPECT_EQ("", digestOf(other->signedBytes));
}

TEST_F(SignatureTest, ListIsCheckedByItsDigest) {
  const RevocationListPtr list = ListMaker(root).make();
  EXPECT_EQ(digestOf(list->signedBytes), list->signedBytes.digest);
  EXPECT_EQ(SignatureState::good, checkSignature(list->signedBytes, *parsed->key));
}

TEST_F(SignatureTest, OtherDigestDoesNotVerify) {
  SignedBytes bytes = parsed->signedBytes;
  const std::string other = sha256Of("something else");
  bytes.digest = other;
  EXPECT_EQ(SignatureState::wrong, checkSignature(bytes, *parsed->key));
}

}  // namespace
