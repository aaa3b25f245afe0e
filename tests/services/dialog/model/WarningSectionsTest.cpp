#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "services/dialog/model/Sections.h"
#include "tests/services/dialog/model/ModelReading.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Warning = CertificateWarnings;

constexpr unsigned long long kAll = 0x3fff;

std::vector<std::string> namesOf(unsigned long long warnings) {
  std::vector<std::string> names;
  for (const GradedWarning& warning : gravestFirst(warnings)) {
    names.emplace_back(warningName(*warning.text));
  }
  return names;
}

TEST(WarningSections, ComeGravestFirst) {
  EXPECT_THAT(namesOf(kAll),
              ElementsAre("REVOKED", "INVALID_SIGNATURE", "BC_NOT_CA", "DOMAINNAME_MISMATCH",
                          "NO_TRUSTED", "NAME_CONSTRAINTS", "INVALID_ISSUER", "BC_PATH_LENGTH",
                          "KU_INVALID", "UNKNOWN_CRITICAL_EXT", "BC_MISSING", "CERT_EXPIRY",
                          "KU_MISSING", "BC_NOT_CRITICAL"));
}

TEST(WarningSections, AreOneForEachWarning) {
  EXPECT_EQ(14U, makeWarningSections(kAll, {}).size());
}

TEST(WarningSections, NeverGrowGraverOnTheWayDown) {
  const auto sections = makeWarningSections(kAll, {});
  EXPECT_TRUE(std::is_sorted(
      sections.begin(), sections.end(),
      [](const DialogSection& a, const DialogSection& b) { return a.tone > b.tone; }));
}

TEST(WarningSections, SayWhatAttackCauseAndNextStepAre) {
  const auto sections = makeWarningSections(Warning::REVOKED, {});
  ASSERT_EQ(1U, sections.size());
  const WarningText& text = *textsOf(Warning::REVOKED).front();
  EXPECT_EQ(text.summary, sections[0].heading);
  EXPECT_THAT(valuesOf(sections[0], "meaning"), ElementsAre(text.meaning));
  EXPECT_THAT(valuesOf(sections[0], "attack"), ElementsAre(text.attack));
  EXPECT_THAT(valuesOf(sections[0], "innocent cause"), ElementsAre(text.cause));
  EXPECT_THAT(valuesOf(sections[0], "safe next step"), ElementsAre(text.next));
}

TEST(WarningSections, SayOnWhichCertificateTheWarningSits) {
  const auto sections = makeWarningSections(Warning::CERT_EXPIRY | Warning::KU_MISSING,
                                            {{Warning::CERT_EXPIRY, 1, "it expired 2 days ago"},
                                             {Warning::KU_MISSING, 2, "it has no key usage"}});
  EXPECT_THAT(valuesOf(sections.at(0), "found on"),
              ElementsAre("certificate 2: it expired 2 days ago"));
  EXPECT_THAT(valuesOf(sections.at(1), "found on"),
              ElementsAre("certificate 3: it has no key usage"));
}

TEST(WarningSections, ClaimNoPlaceThatWasNotFound) {
  EXPECT_THAT(valuesOf(makeWarningSections(Warning::REVOKED, {}).at(0), "found on"), IsEmpty());
}

TEST(WarningSections, SayThatAReasonIsUnknown) {
  const auto sections = makeWarningSections(0x4000, {});
  ASSERT_EQ(1U, sections.size());
  EXPECT_THAT(sections[0].heading, HasSubstr("reason that this program does not know"));
}

TEST(WarningSections, SayThatAReasonIsUnknownBesideKnownOnes) {
  const auto sections = makeWarningSections(Warning::CERT_EXPIRY | 1ULL << 63U, {});
  ASSERT_EQ(2U, sections.size());
  EXPECT_THAT(sections[1].heading, HasSubstr("reason that this program does not know"));
}

TEST(WarningSections, SayThatNoReasonIsKnownWithoutAny) {
  const auto sections = makeWarningSections(0, {});
  ASSERT_EQ(1U, sections.size());
  EXPECT_THAT(sections[0].heading, HasSubstr("reason that this program does not know"));
}

}  // namespace
