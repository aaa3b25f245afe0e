#include "tools/trustctl/connect/OcspStaple.h"

#include <gtest/gtest.h>

#include "tests/tools/connect/OcspMaker.h"

namespace {

using Signature = StapledAnswer::Signature;
using Status = StapledAnswer::Status;

class OcspStaple : public testing::Test {
 protected:
  // What is read from the bytes beside the whole chain.
  StapledAnswer read(const Bytes& bytes) const {
    return readStaple(bytes, {leaf_.der(), inter_.der()});
  }

  TestCertificate root_ = CertificateMaker("Root").asCa().make();
  TestCertificate inter_ = CertificateMaker("Inter").asCa().issuedBy(root_).make();
  TestCertificate leaf_ = CertificateMaker("leaf").asServer().serial({7}).issuedBy(inter_).make();
  TestCertificate other_ = CertificateMaker("other").asServer().serial({8}).issuedBy(inter_).make();
};

TEST_F(OcspStaple, NoBytesAreNone) {
  EXPECT_EQ(Status::none, read({}).status);
}

TEST_F(OcspStaple, AGoodAnswerIsReadWithItsTimes) {
  const StapledAnswer answer = read(OcspMaker(leaf_, inter_).der());
  EXPECT_EQ(Status::good, answer.status);
  EXPECT_EQ(1577836800, answer.thisUpdate);
  EXPECT_EQ(4102444799, answer.nextUpdate);
  EXPECT_EQ(std::nullopt, answer.revokedAt);
  EXPECT_EQ(Signature::valid, answer.signature);
}

TEST_F(OcspStaple, ARevocationIsReadWithItsTime) {
  const StapledAnswer answer = read(OcspMaker(leaf_, inter_).revoked("20250101000000Z").der());
  EXPECT_EQ(Status::revoked, answer.status);
  EXPECT_EQ(1735689600, answer.revokedAt);
}

TEST_F(OcspStaple, AnUnknownCertificateIsRead) {
  EXPECT_EQ(Status::unknown, read(OcspMaker(leaf_, inter_).unknown().der()).status);
}

TEST_F(OcspStaple, AnAnswerWithoutANextUpdateIsRead) {
  const StapledAnswer answer = read(OcspMaker(leaf_, inter_).nextUpdate("").der());
  EXPECT_EQ(Status::good, answer.status);
  EXPECT_EQ(std::nullopt, answer.nextUpdate);
}

TEST_F(OcspStaple, AResponderThatTheIssuerCertifiedMaySign) {
  const TestCertificate responder = CertificateMaker("responder")
                                        .basicConstraints("CA:FALSE")
                                        .keyUsage("critical,digitalSignature")
                                        .extendedKeyUsage("OCSPSigning")
                                        .issuedBy(inter_)
                                        .make();
  EXPECT_EQ(Signature::valid, read(OcspMaker(leaf_, inter_).signedBy(responder).der()).signature);
}

TEST_F(OcspStaple, AnotherCertificateOfTheIssuerMayNotSign) {
  EXPECT_EQ(Signature::invalid, read(OcspMaker(leaf_, inter_).signedBy(other_).der()).signature);
}

TEST_F(OcspStaple, AStrangerMayNotSign) {
  const TestCertificate stranger = CertificateMaker("Inter").asCa().make();
  EXPECT_EQ(Signature::invalid, read(OcspMaker(leaf_, inter_).signedBy(stranger).der()).signature);
}

TEST_F(OcspStaple, WithoutTheIssuerTheSignatureIsUnchecked) {
  const StapledAnswer answer = readStaple(OcspMaker(leaf_, inter_).der(), {leaf_.der()});
  EXPECT_EQ(Status::good, answer.status);
  EXPECT_EQ(Signature::unchecked, answer.signature);
}

TEST_F(OcspStaple, AnAnswerAboutAnotherCertificateIsUnusable) {
  const StapledAnswer answer = read(OcspMaker(other_, inter_).der());
  EXPECT_EQ(Status::unusable, answer.status);
  EXPECT_EQ("it is not about the server's certificate", answer.problem);
}

TEST_F(OcspStaple, AnAnswerAboutTheNumberOfAnotherIssuerIsUnusable) {
  const TestCertificate twin = CertificateMaker("twin").serial({7}).issuedBy(root_).make();
  EXPECT_EQ(Status::unusable, read(OcspMaker(twin, root_).der()).status);
}

TEST_F(OcspStaple, AResponderThatFailedIsToldByItsReason) {
  EXPECT_EQ("the responder failed: trylater", read(ocspTryLater()).problem);
}

TEST_F(OcspStaple, EveryShortenedAnswerIsUnusable) {
  const Bytes whole = OcspMaker(leaf_, inter_).der();
  for (std::size_t length = 1; length < whole.size(); ++length) {
    const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_EQ(Status::unusable, read(part).status) << length;
  }
}

TEST_F(OcspStaple, BytesBehindTheAnswerMakeItUnusable) {
  Bytes longer = OcspMaker(leaf_, inter_).der();
  longer.push_back(0);
  EXPECT_EQ("it is no OCSP response", read(longer).problem);
}

}  // namespace
