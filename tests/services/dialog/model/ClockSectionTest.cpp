#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "services/dialog/model/Sections.h"
#include "tests/services/dialog/model/ModelReading.h"

namespace {

using testing::HasSubstr;
using Warning = CertificateWarnings;

// An authority and a server, valid for so many days from now; negative is in the past.
std::vector<ChainMember> chainValid(const char* rootFrom, const char* rootTo, const char* leafFrom,
                                    const char* leafTo) {
  const TestCertificate root =
      CertificateMaker("Root").asCa().notBefore(rootFrom).notAfter(rootTo).make();
  const TestCertificate leaf =
      CertificateMaker("a.example").issuedBy(root).notBefore(leafFrom).notAfter(leafTo).make();
  return readChain(ders({leaf, root}));
}

constexpr const char* kLongAgo = "20000101000000Z";
constexpr const char* kLastYear = "20250101000000Z";
constexpr const char* kTomorrow = "20260602000000Z";
constexpr const char* kNextYear = "20270101000000Z";
constexpr const char* kFarAway = "20990101000000Z";

TEST(ClockSection, IsAbsentWhenOnlyTheServersCertificateHasExpired) {
  EXPECT_FALSE(makeClockSection(chainValid(kLongAgo, kFarAway, kLongAgo, kLastYear),
                                Warning::CERT_EXPIRY, kNow));
}

TEST(ClockSection, IsAbsentWhenASingleCertificateHasExpired) {
  const auto chain = readChain({CertificateMaker("x").notAfter(kLastYear).make().der()});
  EXPECT_FALSE(makeClockSection(chain, Warning::CERT_EXPIRY, kNow));
}

TEST(ClockSection, IsAbsentWithoutAWarningOfExpiry) {
  EXPECT_FALSE(makeClockSection(chainValid(kLongAgo, kLastYear, kLongAgo, kLastYear),
                                Warning::NO_TRUSTED, kNow));
}

TEST(ClockSection, SuspectsAClockBeforeEveryCertificate) {
  const auto section = makeClockSection(chainValid(kNextYear, kFarAway, kNextYear, kFarAway),
                                        Warning::CERT_EXPIRY, kNow);
  ASSERT_TRUE(section);
  EXPECT_EQ("clock", section->kind);
  EXPECT_THAT(section->lines[1].text, HasSubstr("before every certificate"));
}

TEST(ClockSection, SuspectsAClockBeforeThisProgram) {
  const auto section = makeClockSection(chainValid(kLongAgo, kFarAway, kLastYear, kFarAway),
                                        Warning::CERT_EXPIRY, 0);
  ASSERT_TRUE(section);
  EXPECT_EQ("1970-01-01T00:00:00Z", section->lines[0].text);
  EXPECT_THAT(section->lines[1].text, HasSubstr("before this program was made"));
}

TEST(ClockSection, SuspectsAClockAfterTheWholeChain) {
  const auto section = makeClockSection(chainValid(kLongAgo, kLastYear, kLongAgo, kLastYear),
                                        Warning::CERT_EXPIRY, kNow);
  ASSERT_TRUE(section);
  EXPECT_THAT(section->lines[1].text, HasSubstr("every certificate here had expired"));
}

TEST(ClockSection, SuspectsASlowClockWhenTheCertificateIsNew) {
  const auto section = makeClockSection(chainValid(kLongAgo, kFarAway, kTomorrow, kFarAway),
                                        Warning::CERT_EXPIRY, kNow);
  ASSERT_TRUE(section);
  EXPECT_THAT(section->lines[1].text, HasSubstr("time zone"));
}

TEST(ClockSection, IsAbsentWhenTheServersCertificateIsForALaterYear) {
  EXPECT_FALSE(makeClockSection(chainValid(kLongAgo, kFarAway, kNextYear, kFarAway),
                                Warning::CERT_EXPIRY, kNow));
}

TEST(ClockSection, SaysHowToCheck) {
  const auto section = makeClockSection(chainValid(kLongAgo, kFarAway, kTomorrow, kFarAway),
                                        Warning::CERT_EXPIRY, kNow);
  ASSERT_TRUE(section);
  EXPECT_THAT(section->lines.back().text, HasSubstr("date -u"));
}

}  // namespace
