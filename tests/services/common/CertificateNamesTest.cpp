#include "services/common/CertificateNames.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/asn1.h>

#include "tests/support/CertificateMaker.h"

namespace {

using namespace std::string_literals;  // NOLINT: names with NUL in them
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> altNames(const CertificateMaker& maker) {
  return subjectAltNamesOf(maker.make().get());
}
std::vector<std::string> commonNames(const CertificateMaker& maker) {
  return commonNamesOf(maker.make().get());
}
std::string serial(const Bytes& magnitude, bool negative = false) {
  return serialNumberOf(CertificateMaker("x").serial(magnitude, negative).make().get());
}

TEST(SerialNumber, IsPairsOfUpperCaseDigits) {
  EXPECT_EQ("01 AB CD", serial({1, 0xab, 0xcd}));
}
TEST(SerialNumber, HasNoPadding) {
  EXPECT_EQ("FF 01", serial({0xff, 1}));
}
TEST(SerialNumber, ZeroIsOnePair) {
  EXPECT_EQ("00", serial({0}));
}
TEST(SerialNumber, NegativeIsItsEncodedBytes) {
  EXPECT_EQ("FE", serial({2}, true));
}

TEST(SubjectAltNames, CarryTheirTypes) {
  EXPECT_THAT(altNames(CertificateMaker("x")
                           .dns("a.example")
                           .ip("192.0.2.1")
                           .ip("2001:db8::1")
                           .uri("https://a.example/")
                           .email("a@a.example")),
              ElementsAre("DNS:a.example", "IP Address:192.0.2.1", "IP Address:2001:db8::1",
                          "URI:https://a.example/", "email:a@a.example"));
}

TEST(SubjectAltNames, AreEmptyWithoutTheExtension) {
  EXPECT_THAT(altNames(CertificateMaker("x")), IsEmpty());
}

TEST(SubjectAltNames, NulComesOutEscapedSoThatNothingMatchesIt) {
  EXPECT_THAT(altNames(CertificateMaker("x").dns("good.example\0.evil"s)),
              ElementsAre("DNS:good.example\\x00.evil"));
}

TEST(SubjectAltNames, EscapeCannotBeForged) {
  EXPECT_THAT(altNames(CertificateMaker("x").dns("a\\x00b")), ElementsAre("DNS:a\\x5Cx00b"));
}

TEST(SubjectAltNames, ControlAndHighBytesComeOutEscaped) {
  EXPECT_THAT(altNames(CertificateMaker("x").dns("a\n\x7f\xff.example")),
              ElementsAre("DNS:a\\x0A\\x7F\\xFF.example"));
}

TEST(SubjectAltNames, UndecodableExtensionIsOneUnmatchableName) {
  EXPECT_THAT(altNames(CertificateMaker("x").extension("subjectAltName", "DER:04:01:61")),
              ElementsAre("DNS:\\unreadable"));
}

TEST(CommonNames, AreAllOfThemAsUtf8) {
  EXPECT_THAT(commonNames(CertificateMaker("a.example").commonName("b\xc3\xbc.example")),
              ElementsAre("a.example", "b\xc3\xbc.example"));
}

TEST(CommonNames, OfAnEmptySubjectAreNone) {
  EXPECT_THAT(commonNames(CertificateMaker()), IsEmpty());
}

TEST(CommonNames, NulComesOutEscaped) {
  EXPECT_THAT(commonNames(CertificateMaker().rawCommonName("good\0bad"s, V_ASN1_UTF8STRING)),
              ElementsAre("good\\x00bad"));
}

TEST(CommonNames, WideStringsBecomeUtf8) {
  EXPECT_THAT(commonNames(CertificateMaker().rawCommonName("\0a\0b"s, V_ASN1_BMPSTRING)),
              ElementsAre("ab"));
}

TEST(CommonNames, NulInAWideStringComesOutEscaped) {
  EXPECT_THAT(commonNames(CertificateMaker().rawCommonName("\0a\0\0\0b"s, V_ASN1_BMPSTRING)),
              ElementsAre("a\\x00b"));
}

TEST(CommonNames, BytesThatAreNoTextComeOutWhollyEscaped) {
  EXPECT_THAT(commonNames(CertificateMaker().rawCommonName("ab", V_ASN1_BIT_STRING)),
              ElementsAre("\\x61\\x62"));
}

TEST(CommonNames, ControlCharactersBeyondAsciiComeOutEscaped) {
  EXPECT_THAT(commonNames(CertificateMaker("a\xc2\x85"
                                           "b")),
              ElementsAre("a\\xC2\\x85b"));
}

// The names with their kinds, as "dns a.example".
std::vector<std::string> kindsAndTexts(const CertificateNames& names) {
  constexpr const char* kKinds[] = {"dns ", "address ", "uri ", "email ", "common "};
  std::vector<std::string> all;
  for (const CertificateName& name : names.names) {
    all.push_back(kKinds[static_cast<int>(name.kind)] + name.text);
  }
  return all;
}

TEST(NamesOf, AreTheAlternativeOnesAndThenTheCommonOnes) {
  const TestCertificate certificate = CertificateMaker("x")
                                          .uri("https://a.example/")
                                          .dns("a.example")
                                          .ip("192.0.2.1")
                                          .email("a@a.example")
                                          .make();
  EXPECT_THAT(kindsAndTexts(namesOf(certificate.get())),
              ElementsAre("uri https://a.example/", "dns a.example", "address 192.0.2.1",
                          "email a@a.example", "common x"));
}

TEST(NamesOf, StandAsTheyAreInTheCertificate) {
  const TestCertificate certificate = CertificateMaker().dns("a\0\n\xff\\"s).make();
  EXPECT_THAT(kindsAndTexts(namesOf(certificate.get())), ElementsAre("dns a\0\n\xff\\"s));
}

TEST(NamesOf, CountsTheOtherKinds) {
  const TestCertificate certificate =
      CertificateMaker().extension("subjectAltName", "RID:1.2.3,DNS:a.example").make();
  EXPECT_EQ(1U, namesOf(certificate.get()).otherNames);
}

TEST(NamesOf, TellsThatTheyDoNotDecode) {
  const TestCertificate certificate =
      CertificateMaker().extension("subjectAltName", "DER:04:01:61").make();
  EXPECT_TRUE(namesOf(certificate.get()).unreadable);
}

TEST(NamesOf, IsReadableWhereThereAreNone) {
  EXPECT_FALSE(namesOf(CertificateMaker("x").make().get()).unreadable);
}

}  // namespace
