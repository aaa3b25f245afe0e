// A remembered verdict is given only as long as a fresh one would be the same.
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/services/certmgr/JudgedTest.h"

namespace {

class VerdictMemoryTest : public JudgedTest {
 protected:
  VerdictMemoryTest() : leaf(leafBy(inter).serial({7}).make()) {}

  Verdict ask(const TestCertificate& certificate, const std::string& when) {
    return evaluator.evaluate(chainOf(certificate, {inter}), store, *parseTime(when));
  }
  Verdict ask(const std::string& when = "2026-01-01T00:00:00Z") { return ask(leaf, when); }

  // Everything the same, and one thing more.
  std::shared_ptr<TrustStore> nextStore() const {
    auto next = std::make_shared<TrustStore>();
    next->add(Anchor{ParsedCertificate::parse(root.derString()), {}});
    return next;
  }

  TestCertificate leaf;
  Evaluator evaluator;
};

TEST_F(VerdictMemoryTest, SameChainIsRemembered) {
  EXPECT_FALSE(ask().remembered);
  EXPECT_TRUE(ask().remembered);
}

TEST_F(VerdictMemoryTest, OrderOfIntermediatesDoesNotMatter) {
  const TestCertificate other = ca("Other").make();
  evaluator.evaluate(chainOf(leaf, {inter, other}), store, 1767225600);
  EXPECT_TRUE(evaluator.evaluate(chainOf(leaf, {other, inter}), store, 1767225600).remembered);
}

TEST_F(VerdictMemoryTest, OtherLeafIsJudgedAnew) {
  ask();
  EXPECT_FALSE(ask(leafBy(inter).serial({8}).make(), "2026-01-01T00:00:00Z").remembered);
}

TEST_F(VerdictMemoryTest, OneCertificateLessIsJudgedAnew) {
  ask();
  const Verdict verdict = evaluator.evaluate(chainOf(leaf, {}), store, 1767225600);
  EXPECT_FALSE(verdict.remembered);
  EXPECT_EQ("NO_TRUSTED", namesOf(verdict.evaluation->warnings()));
}

TEST_F(VerdictMemoryTest, LeafAndIntermediateAreNotInterchangeable) {
  evaluator.evaluate(chainOf(leaf, {inter}), store, 1767225600);
  EXPECT_FALSE(evaluator.evaluate(chainOf(inter, {leaf}), store, 1767225600).remembered);
}

TEST_F(VerdictMemoryTest, ExpiryOfTheLeafIsSeenAtItsSecond) {
  const TestCertificate dying = leafBy(inter).notAfter("20260101000000Z").make();
  EXPECT_TRUE(ask(dying, "2026-01-01T00:00:00Z").evaluation->isValid());
  EXPECT_EQ("CERT_EXPIRY", namesOf(ask(dying, "2026-01-01T00:00:01Z").evaluation->warnings()));
}

TEST_F(VerdictMemoryTest, BeginningOfTheLeafIsSeenAtItsSecond) {
  const TestCertificate coming = leafBy(inter).notBefore("20260101000000Z").make();
  EXPECT_FALSE(ask(coming, "2025-12-31T23:59:59Z").evaluation->isValid());
  EXPECT_TRUE(ask(coming, "2026-01-01T00:00:00Z").evaluation->isValid());
}

TEST_F(VerdictMemoryTest, ClockThatIsSetBackIsSeen) {
  const TestCertificate coming = leafBy(inter).notBefore("20260101000000Z").make();
  EXPECT_TRUE(ask(coming, "2026-01-01T00:00:00Z").evaluation->isValid());
  EXPECT_FALSE(ask(coming, "2025-12-31T23:59:59Z").evaluation->isValid());
}

TEST_F(VerdictMemoryTest, ExpiryOfAnIntermediateIsSeen) {
  inter = ca("Inter").key(inter.key()).notAfter("20260101000000Z").issuedBy(root).make();
  EXPECT_TRUE(ask("2026-01-01T00:00:00Z").evaluation->isValid());
  EXPECT_FALSE(ask("2026-01-01T00:00:01Z").evaluation->isValid());
}

TEST_F(VerdictMemoryTest, IntermediateThatBecomesValidAndGivesABetterPathIsSeen) {
  const TestCertificate coming =
      ca("Inter").key(inter.key()).notBefore("20260101000000Z").issuedBy(root).make();
  inter = ca("Inter").key(inter.key()).notAfter("20250101000000Z").issuedBy(root).make();
  const std::vector<std::string> chain = chainOf(leaf, {inter, coming});
  EXPECT_FALSE(evaluator.evaluate(chain, store, 1767225599).evaluation->isValid());
  EXPECT_TRUE(evaluator.evaluate(chain, store, 1767225600).evaluation->isValid());
}

TEST_F(VerdictMemoryTest, ListThatRunsOutStopsRevoking) {
  publish(CrlMaker(inter).revoke(leaf).nextUpdate("20260101000000Z"));
  EXPECT_EQ("REVOKED", namesOf(ask("2025-12-31T23:59:59Z").evaluation->warnings()));
  EXPECT_EQ("", namesOf(ask("2026-01-01T00:00:01Z").evaluation->warnings()));
}

TEST_F(VerdictMemoryTest, ListThatComesIntoForceRevokes) {
  publish(CrlMaker(inter).revoke(leaf).lastUpdate("20260101000000Z"));
  EXPECT_EQ("", namesOf(ask("2025-12-31T23:59:59Z").evaluation->warnings()));
  EXPECT_EQ("REVOKED", namesOf(ask("2026-01-01T00:00:00Z").evaluation->warnings()));
}

TEST_F(VerdictMemoryTest, NewListInTheStoreIsSeen) {
  ask();
  store = nextStore();
  publish(CrlMaker(inter).revoke(leaf));
  EXPECT_EQ("REVOKED", namesOf(ask().evaluation->warnings()));
}

TEST_F(VerdictMemoryTest, AnchorThatIsGoneIsSeen) {
  ask();
  store = std::make_shared<TrustStore>();
  EXPECT_EQ("NO_TRUSTED", namesOf(ask().evaluation->warnings()));
}

TEST_F(VerdictMemoryTest, VerdictsOfTwoStoresAreApart) {
  const auto empty = std::make_shared<TrustStore>();
  ask();
  EXPECT_FALSE(evaluator.evaluate(chainOf(leaf, {inter}), empty, 1767225600).evaluation->isValid());
  EXPECT_TRUE(ask().evaluation->isValid());
}

TEST_F(VerdictMemoryTest, ForgottenVerdictIsMadeAnew) {
  ask();
  evaluator.forget();
  EXPECT_FALSE(ask().remembered);
}

TEST_F(VerdictMemoryTest, WithoutMemoryEveryVerdictIsMadeAnew) {
  EvaluatorOptions options;
  options.verdictBytes = 0;
  Evaluator none(options);
  none.evaluate(chainOf(leaf, {inter}), store, 1767225600);
  EXPECT_FALSE(none.evaluate(chainOf(leaf, {inter}), store, 1767225600).remembered);
}

TEST_F(VerdictMemoryTest, VerdictOlderThanItsAgeIsMadeAnew) {
  EvaluatorOptions options;
  options.verdictAge = std::chrono::seconds(0);
  Evaluator shortLived(options);
  shortLived.evaluate(chainOf(leaf, {inter}), store, 1767225600);
  EXPECT_FALSE(shortLived.evaluate(chainOf(leaf, {inter}), store, 1767225600).remembered);
}

TEST_F(VerdictMemoryTest, MemoryIsBounded) {
  EvaluatorOptions options;
  options.verdictBytes = 200'000;  // some ten verdicts
  Evaluator small(options);
  const std::vector<std::string> first = chainOf(leaf, {inter});
  small.evaluate(first, store, 1767225600);
  for (unsigned char i = 0; i < 60; ++i) {
    small.evaluate(chainOf(leafBy(inter).serial({1, i}).make(), {inter}), store, 1767225600);
  }
  EXPECT_FALSE(small.evaluate(first, store, 1767225600).remembered);
}

TEST_F(VerdictMemoryTest, VerdictSaysHowLongItHolds) {
  const TestCertificate bounded =
      leafBy(inter).notBefore("20250101000000Z").notAfter("20261231235959Z").make();
  const Verdict verdict = ask(bounded, "2026-01-01T00:00:00Z");
  EXPECT_EQ("2025-01-01T00:00:00Z", formatTime(verdict.evaluation->from));
  EXPECT_EQ("2027-01-01T00:00:00Z", formatTime(verdict.evaluation->until));
}

TEST_F(VerdictMemoryTest, WhatIsNoCertificateIsNamedByItsPlace) {
  try {
    evaluator.evaluate({leaf.derString(), "x"}, store, 1767225600);
    FAIL() << "it was taken";
  } catch (const UnreadableCertificate& error) {
    EXPECT_EQ(1U, error.place());
  }
}

}  // namespace
