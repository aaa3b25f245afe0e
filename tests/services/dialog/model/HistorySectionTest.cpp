#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "services/common/WarningTexts.h"
#include "services/dialog/model/DialogModelBuilder.h"

#include "services/dialog/model/ExceptionComparison.h"
#include "tests/services/dialog/model/ModelReading.h"
#include "trustlib/CertificateWarnings.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Warning = CertificateWarnings;

constexpr unsigned long long kAccepted = Warning::NO_TRUSTED;

// A private authority and what its server shows in the course of time.
struct World {
  TestCertificate root = CertificateMaker("Root").asCa().make();
  TestCertificate inter = CertificateMaker("Inter").asCa().issuedBy(root).make();
  TestCertificate leaf = leafBy(inter).make();

  static CertificateMaker leafBy(const TestCertificate& issuer) {
    return CertificateMaker("a.example").asServer().dns("a.example").issuedBy(issuer);
  }
  std::vector<TestCertificate> chain() const { return {leaf, inter, root}; }
  // Now there is `now`, and this world's chain was accepted.
  DialogInput after(const std::vector<TestCertificate>& now,
                    unsigned long long warnings = kAccepted) const {
    DialogInput input = inputOf(now, warnings);
    addEarlier(&input, chain(), kAccepted);
    return input;
  }
};

DialogSection historyOf(const DialogInput& input) {
  const auto sections = sectionsOf(buildDialogModel(input), "history");
  EXPECT_EQ(1U, sections.size());
  return sections.empty() ? DialogSection() : sections[0];
}

TEST(HistorySection, IsAbsentWithoutAnEarlierException) {
  const World w;
  EXPECT_THAT(sectionsOf(buildDialogModel(inputOf(w.chain(), kAccepted)), "history"), IsEmpty());
}

TEST(HistorySection, TheAcceptedChainIsCalledThat) {
  const World w;
  const DialogSection history = historyOf(w.after(w.chain()));
  EXPECT_EQ(DialogTone::good, history.tone);
  EXPECT_THAT(history.lines[0].text, HasSubstr("whole chain are the ones you accepted"));
}

TEST(HistorySection, OtherIntermediatesAloneAreNoAlarm) {
  const World w;
  const TestCertificate cross =
      CertificateMaker("Inter").asCa().issuedBy(w.root).key(w.inter.key()).serial({9}).make();
  const DialogSection history = historyOf(w.after({w.leaf, cross, w.root}));
  EXPECT_EQ(DialogTone::good, history.tone);
  EXPECT_THAT(history.lines[0].text, HasSubstr("only certificates above it"));
}

TEST(HistorySection, ARenewalThatKeepsItsKeyLooksLikeOne) {
  const World w;
  const TestCertificate renewed = World::leafBy(w.inter).key(w.leaf.key()).serial({2}).make();
  const DialogSection history = historyOf(w.after({renewed, w.inter, w.root}));
  EXPECT_EQ(DialogTone::good, history.tone);
  EXPECT_THAT(history.lines[0].text, HasSubstr("what a renewal looks like"));
}

TEST(HistorySection, ASelfSignedRenewalThatKeepsItsKeyLooksLikeOne) {
  const TestCertificate then = CertificateMaker("a.example").make();
  const TestCertificate now = CertificateMaker("a.example").key(then.key()).serial({2}).make();
  DialogInput input = inputOf({now}, kAccepted);
  addEarlier(&input, {then}, kAccepted);
  EXPECT_EQ(DialogTone::good, historyOf(input).tone);
}

TEST(HistorySection, ARenewalWithANewKeyIsDoubtedAndNoAlarm) {
  const World w;
  const DialogSection history =
      historyOf(w.after({World::leafBy(w.inter).make(), w.inter, w.root}));
  EXPECT_EQ(DialogTone::doubt, history.tone);
  EXPECT_THAT(history.lines[0].text, HasSubstr("from the same issuer"));
}

TEST(HistorySection, AnotherIntermediateOfTheSameRootIsNoAlarm) {
  const World w;
  const TestCertificate other = CertificateMaker("Inter 2").asCa().issuedBy(w.root).make();
  const DialogSection history = historyOf(w.after({World::leafBy(other).make(), other, w.root}));
  EXPECT_EQ(DialogTone::doubt, history.tone);
  EXPECT_THAT(history.lines[0].text, HasSubstr("below the same authority"));
}

// Whoever bought one certificate of an authority is not therefore one below it.
TEST(HistorySection, IntermediateThatIsNoAuthorityIsAnAlarm) {
  const World w;
  const TestCertificate bought = CertificateMaker("b.example").issuedBy(w.root).make();
  const DialogSection history = historyOf(w.after({World::leafBy(bought).make(), bought, w.root}));
  EXPECT_EQ(DialogTone::danger, history.tone);
  EXPECT_THAT(history.lines[0].text, HasSubstr("from another issuer"));
}

TEST(HistorySection, AnotherIssuerIsAnAlarm) {
  const World w;
  const World other;
  const DialogSection history = historyOf(w.after(other.chain()));
  EXPECT_EQ(DialogTone::danger, history.tone);
  EXPECT_EQ("This is not what you accepted before", history.heading);
  EXPECT_THAT(history.lines[0].text, HasSubstr("what an attack looks like"));
}

TEST(HistorySection, AnIssuersNameAloneProvesNothing) {
  const World w;
  const TestCertificate forged = World::leafBy(w.inter).signedWith(TestKey::makeEc()).make();
  const DialogSection history = historyOf(w.after({forged, w.inter, w.root}));
  EXPECT_EQ(DialogTone::danger, history.tone);
  EXPECT_THAT(history.lines[0].text, HasSubstr("anybody can write that name"));
}

TEST(HistorySection, ASelfSignedCertificateWithAnotherKeyIsAnAlarm) {
  DialogInput input = inputOf({CertificateMaker("a.example").make()}, kAccepted);
  addEarlier(&input, {CertificateMaker("a.example").make()}, kAccepted);
  EXPECT_EQ(DialogTone::danger, historyOf(input).tone);
}

TEST(HistorySection, TheSameKeyFromAnotherIssuerIsDoubted) {
  const World w;
  const World other;
  const TestCertificate moved = World::leafBy(other.inter).key(w.leaf.key()).make();
  EXPECT_EQ(DialogTone::doubt, historyOf(w.after({moved, other.inter, other.root})).tone);
}

TEST(HistorySection, ANewWarningIsAnAlarmWhateverStaysTheSame) {
  const World w;
  const DialogSection history = historyOf(w.after(w.chain(), kAccepted | Warning::REVOKED));
  EXPECT_EQ(DialogTone::danger, history.tone);
  EXPECT_EQ(DialogTone::plain, history.lines[0].tone);
  EXPECT_THAT(valuesOf(history, "new warning"),
              ElementsAre(textsOf(Warning::REVOKED).front()->summary));
}

TEST(HistorySection, NothingIsCalledARenewalThatBringsANewWarning) {
  const World w;
  const TestCertificate foreign =
      CertificateMaker("b.example").asServer().dns("b.example").issuedBy(w.inter).make();
  const DialogSection history =
      historyOf(w.after({foreign, w.inter, w.root}, kAccepted | Warning::DOMAINNAME_MISMATCH));
  EXPECT_EQ(
      "The server has another certificate with another key, from the same issuer. A renewal alone "
      "does not bring a new warning.",
      history.lines[0].text);
}

TEST(HistorySection, NothingWithTheSameKeyIsCalledARenewalThatBringsANewWarning) {
  const World w;
  const TestCertificate renewed = World::leafBy(w.inter).key(w.leaf.key()).serial({2}).make();
  const DialogSection history =
      historyOf(w.after({renewed, w.inter, w.root}, kAccepted | Warning::REVOKED));
  EXPECT_THAT(history.lines[0].text, testing::EndsWith("does not bring a new warning."));
}

TEST(HistorySection, ANewWarningThatNobodyKnowsIsAnAlarmToo) {
  const World w;
  EXPECT_EQ(DialogTone::danger, historyOf(w.after(w.chain(), kAccepted | 0x8000)).tone);
}

TEST(HistorySection, AnAcceptedCertificateThatHasExpiredSinceIsNoAlarm) {
  const World w;
  EXPECT_EQ(DialogTone::doubt,
            historyOf(w.after(w.chain(), kAccepted | Warning::CERT_EXPIRY)).tone);
}

TEST(HistorySection, AWarningThatHasGoneIsTold) {
  const World w;
  DialogInput input = inputOf(w.chain(), kAccepted);
  addEarlier(&input, w.chain(), kAccepted | Warning::CERT_EXPIRY);
  const DialogSection history = historyOf(input);
  EXPECT_EQ(DialogTone::good, history.tone);
  EXPECT_THAT(valuesOf(history, "no longer"),
              ElementsAre(textsOf(Warning::CERT_EXPIRY).front()->summary));
}

TEST(HistorySection, ShowsTheFingerprintsOfThenAndNow) {
  const World w;
  const World other;
  const DialogSection history = historyOf(w.after(other.chain()));
  EXPECT_EQ(1U, valuesOf(history, "SHA-256 then").size());
  EXPECT_NE(valuesOf(history, "SHA-256 then"), valuesOf(history, "SHA-256 now"));
}

TEST(HistorySection, SaysThatItComparesWithTheNearest) {
  const World w;
  DialogInput input = w.after(w.chain());
  addEarlier(&input, World().chain(), kAccepted);
  EXPECT_THAT(valuesOf(historyOf(input), ""), Contains(HasSubstr("with the nearest")));
}

TEST(CompareWithNearest, PrefersTheSameCertificateToFewerNewWarnings) {
  const World w;
  DialogInput input = inputOf(w.chain(), kAccepted);
  addEarlier(&input, World().chain(), kAccepted);
  addEarlier(&input, w.chain(), Warning::CERT_EXPIRY);
  EXPECT_EQ(LeafChange::none, compareWithNearest(input, readChain(input.chain))->leaf);
}

TEST(CompareWithNearest, PrefersFewerNewWarningsForTheSameCertificate) {
  const World w;
  DialogInput input = inputOf(w.chain(), 7);
  addEarlier(&input, w.chain(), 1);
  addEarlier(&input, w.chain(), 3);
  EXPECT_EQ(4U, compareWithNearest(input, readChain(input.chain))->newWarnings);
}

TEST(CompareWithNearest, DoesNotDependOnTheOrderOfStoring) {
  const World w;
  const World one;
  const World two;
  DialogInput input = inputOf(w.chain(), kAccepted);
  addEarlier(&input, one.chain(), kAccepted);
  addEarlier(&input, two.chain(), kAccepted);
  const auto first = compareWithNearest(input, readChain(input.chain));
  std::reverse(input.earlier.begin(), input.earlier.end());
  const auto second = compareWithNearest(input, readChain(input.chain));
  EXPECT_EQ(first->then.front().view.sha256, second->then.front().view.sha256);
}

TEST(CompareWithNearest, PassesOverChainsThatCannotBeRead) {
  const World w;
  DialogInput input = inputOf(w.chain(), kAccepted);
  input.earlier = {{input.domain, 1, {{0x30, 0x00}}}, {input.domain, 1, {}}};
  EXPECT_FALSE(compareWithNearest(input, readChain(input.chain)));
}

}  // namespace
