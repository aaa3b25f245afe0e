#include "services/certmgr/Evaluator.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "services/certmgr/path/Digest.h"
#include "tests/services/certmgr/JudgedTest.h"
#include "tests/support/CertificateMaker.h"

namespace {

class EvaluatorTest : public JudgedTest {};

TEST_F(EvaluatorTest, GoodChainHasNoFinding) {
  EXPECT_EQ("", findings(leafBy(inter).make(), {inter}));
}

TEST_F(EvaluatorTest, ChainRunsFromTheLeafToItsAnchor) {
  EXPECT_EQ(3U, evaluate(leafBy(inter).make(), {inter}).path.size());
}

TEST_F(EvaluatorTest, LeafWithoutAnyExtensionIsGood) {
  EXPECT_EQ("", findings(CertificateMaker("leaf.example").issuedBy(inter).make(), {inter}));
}

TEST_F(EvaluatorTest, OrderOfIntermediatesDoesNotMatter) {
  const TestCertificate lower = CertificateMaker("Lower").asCa().issuedBy(inter).make();
  const TestCertificate leaf = leafBy(lower).make();
  EXPECT_EQ("", findings(leaf, {inter, lower}));
  EXPECT_EQ("", findings(leaf, {lower, inter}));
}

TEST_F(EvaluatorTest, AnchorSentAlongChangesNothing) {
  EXPECT_EQ("", findings(leafBy(inter).make(), {inter, root}));
}

TEST_F(EvaluatorTest, TrustedIntermediateIsAnAnchor) {
  const TestCertificate stranger = CertificateMaker("Stranger").asCa().make();
  const TestCertificate trusted = CertificateMaker("Trusted").asCa().issuedBy(stranger).make();
  trust(trusted);
  EXPECT_EQ("", findings(leafBy(trusted).make(), {}));
}

TEST_F(EvaluatorTest, TrustedSelfSignedLeafIsGood) {
  const TestCertificate self = CertificateMaker("self.example").dns("self.example").make();
  trust(self);
  EXPECT_EQ("", findings(self, {}));
}

TEST_F(EvaluatorTest, TrustedLeafOfAnUnknownIssuerIsGoodWhateverComesWithIt) {
  const TestCertificate stranger = CertificateMaker("Stranger").make();
  const TestCertificate leaf = leafBy(stranger).make();
  trust(leaf);
  const Evaluation evaluation = evaluate(leaf, {stranger});
  EXPECT_EQ("", namesOf(evaluation.warnings()));
  EXPECT_EQ(1U, evaluation.path.size());
}

TEST_F(EvaluatorTest, TrustedLeafMayNotIssueOthers) {
  const TestCertificate trusted = leafBy(inter).make();
  trust(trusted);
  EXPECT_NE("", findings(leafBy(trusted).make(), {}));
}

TEST_F(EvaluatorTest, LeafThatIsAnAnchorOnlyForOtherUsesIsNotTrusted) {
  const TestCertificate self = CertificateMaker("self.example").make();
  store->add(Anchor{ParsedCertificate::parse(self.derString()), Anchor::Use::refused});
  EXPECT_EQ("NO_TRUSTED", findings(self, {}));
}

TEST_F(EvaluatorTest, AnchorForServersInSoManyWordsMayBeForOtherPurposesToo) {
  const TestCertificate mail = ca("Mail Root").extendedKeyUsage("emailProtection").make();
  store->add(Anchor{ParsedCertificate::parse(mail.derString()), Anchor::Use::server});
  EXPECT_EQ("", findings(leafBy(mail).make(), {}));
}

TEST_F(EvaluatorTest, ManyThreadsMayShareOneEvaluatorAndStore) {
  publish(CrlMaker(inter).revoke(leafBy(inter).serial({8}).make()));
  const std::vector<std::string> chain = chainOf(leafBy(inter).make(), {inter});
  Evaluator evaluator;
  std::atomic<int> valid{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int j = 0; j < 25; ++j) {
        valid += evaluator.evaluate(chain, store, 1767225600).evaluation->isValid() ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(100, valid);
}

// One made chain for each finding, which provokes exactly it.

TEST_F(EvaluatorTest, CaWhoseBasicConstraintsAreNotCritical) {
  const TestCertificate loose =
      CertificateMaker("Loose").asCa().basicConstraints("CA:TRUE").issuedBy(root).make();
  EXPECT_EQ("BC_NOT_CRITICAL", findings(leafBy(loose).make(), {loose}));
}

TEST_F(EvaluatorTest, AnchorWhoseBasicConstraintsAreNotCriticalIsLeftAlone) {
  const TestCertificate old = CertificateMaker("Old").basicConstraints("CA:TRUE").make();
  trust(old);
  EXPECT_EQ("", findings(leafBy(old).make(), {}));
}

TEST_F(EvaluatorTest, PathLengthExceeded) {
  const TestCertificate shortCa = CertificateMaker("Short").asCa(0).issuedBy(root).make();
  const TestCertificate lower = CertificateMaker("Lower").asCa().issuedBy(shortCa).make();
  EXPECT_EQ("BC_PATH_LENGTH", findings(leafBy(lower).make(), {shortCa, lower}));
}

TEST_F(EvaluatorTest, UnknownCriticalExtension) {
  EXPECT_EQ("UNKNOWN_CRITICAL_EXT", findings(leafBy(inter).unknownExtension(true).make(), {inter}));
}

TEST_F(EvaluatorTest, UnknownExtensionThatIsNotCriticalIsGood) {
  EXPECT_EQ("", findings(leafBy(inter).unknownExtension(false).make(), {inter}));
}

TEST_F(EvaluatorTest, ExpiredLeaf) {
  EXPECT_EQ("CERT_EXPIRY", findings(leafBy(inter).notAfter("20251231235959Z").make(), {inter}));
}

TEST_F(EvaluatorTest, LeafNotYetValid) {
  EXPECT_EQ("CERT_EXPIRY", findings(leafBy(inter).notBefore("20270101000000Z").make(), {inter}));
}

TEST_F(EvaluatorTest, ExpiredIntermediate) {
  const TestCertificate expired =
      CertificateMaker("Old").asCa().notAfter("20251231235959Z").issuedBy(root).make();
  EXPECT_EQ("CERT_EXPIRY", findings(leafBy(expired).make(), {expired}));
}

TEST_F(EvaluatorTest, ExpiryThatIsNoTime) {
  EXPECT_EQ("CERT_EXPIRY", findings(leafBy(inter).malformedNotAfter().make(), {inter}));
}

TEST_F(EvaluatorTest, TimeOfTheVerdictDecidesAboutExpiry) {
  const TestCertificate leaf = leafBy(inter).notAfter("20251231235959Z").make();
  EXPECT_EQ("", findings(leaf, {inter}, "2025-12-31T23:59:58Z"));
  EXPECT_EQ("CERT_EXPIRY", findings(leaf, {inter}, "2026-01-01T00:00:00Z"));
}

TEST_F(EvaluatorTest, CaWithoutKeyUsage) {
  const TestCertificate bare = CertificateMaker("Bare").asCa().keyUsage("").issuedBy(root).make();
  EXPECT_EQ("KU_MISSING", findings(leafBy(bare).make(), {bare}));
}

TEST_F(EvaluatorTest, LeafForAnotherPurpose) {
  EXPECT_EQ("KU_INVALID", findings(leafBy(inter).extendedKeyUsage("clientAuth").make(), {inter}));
}

TEST_F(EvaluatorTest, KeyUsageWithBitsBeyondItsEndIsUnreadable) {
  // Seven unused bits, all of them set.
  const auto leaf = leafBy(inter).keyUsage("").extension("2.5.29.15", "DER:030207ff").make();
  EXPECT_EQ("NO_TRUSTED", findings(leaf, {inter}));
}

TEST_F(EvaluatorTest, KeyUsageWithoutTheEncodingOfItsLastBitIsGood) {
  const auto leaf = leafBy(inter).keyUsage("").extension("2.5.29.15", "DER:03020080").make();
  EXPECT_EQ("", findings(leaf, {inter}));
}

// A DER element of many times the same.
std::string derOf(std::size_t count, const std::string& hexadecimal) {
  const std::size_t size = count * hexadecimal.size() / 2;
  std::string text = "DER:3082";
  text += hexOf(std::string{static_cast<char>(size >> 8), static_cast<char>(size & 0xff)});
  while (count-- > 0) text += hexadecimal;
  return text;
}

TEST_F(EvaluatorTest, MoreDistributionPointsThanAnybodyNeedsAreUnreadable) {
  const auto leaf = leafBy(inter).extension("crlDistributionPoints", derOf(257, "3000")).make();
  EXPECT_EQ("NO_TRUSTED", findings(leaf, {inter}));
}

TEST_F(EvaluatorTest, MorePurposesThanAnybodyNeedsAreUnreadable) {
  const auto leaf =
      leafBy(inter).extendedKeyUsage("").extension("2.5.29.37", derOf(257, "0604551d2500")).make();
  EXPECT_EQ("NO_TRUSTED", findings(leaf, {inter}));
}

TEST_F(EvaluatorTest, MorePoliciesThanAnybodyNeedsAreUnreadable) {
  std::string policies;
  for (int i = 0; i < 257; ++i) {
    policies += "300506032a" +
                hexOf(std::string{static_cast<char>(0x81 + i / 128), static_cast<char>(i % 128)});
  }
  const auto leaf = leafBy(inter).extension("2.5.29.32", derOf(1, policies)).make();
  EXPECT_EQ("NO_TRUSTED", findings(leaf, {inter}));
}

TEST_F(EvaluatorTest, EvidenceOfManyPurposesIsCut) {
  const auto leaf =
      leafBy(inter).extendedKeyUsage("").extension("2.5.29.37", derOf(100, "06022a03")).make();
  const Evaluation found = evaluate(leaf, {inter});
  ASSERT_EQ(1U, found.findings.size());
  EXPECT_EQ("for 1.2.3, 1.2.3, 1.2.3, 1.2.3, 1.2.3, 1.2.3, 1.2.3, 1.2.3, ...",
            found.findings[0].evidence);
}

TEST_F(EvaluatorTest, EvidenceOfAnotherPurposeListsThePurposes) {
  const TestCertificate leaf = leafBy(inter).extendedKeyUsage("clientAuth,codeSigning").make();
  const std::vector<Finding> found = evaluate(leaf, {inter}).findings;
  ASSERT_EQ(1U, found.size());
  EXPECT_EQ("for 1.3.6.1.5.5.7.3.2, 1.3.6.1.5.5.7.3.3", found.front().evidence);
}

TEST_F(EvaluatorTest, CaForAnotherPurpose) {
  const TestCertificate mail =
      CertificateMaker("Mail").asCa().extendedKeyUsage("emailProtection").issuedBy(root).make();
  EXPECT_EQ("KU_INVALID", findings(leafBy(mail).make(), {mail}));
}

TEST_F(EvaluatorTest, CaWhoseKeyMayNotSignCertificates) {
  const TestCertificate wrong =
      CertificateMaker("Wrong").asCa().keyUsage("critical,cRLSign").issuedBy(root).make();
  EXPECT_EQ("KU_INVALID", findings(leafBy(wrong).make(), {wrong}));
}

TEST_F(EvaluatorTest, CaWithoutBasicConstraints) {
  const TestCertificate bare =
      CertificateMaker("Bare").keyUsage("critical,keyCertSign").issuedBy(root).make();
  EXPECT_EQ("BC_MISSING", findings(leafBy(bare).make(), {bare}));
}

TEST_F(EvaluatorTest, IntermediateOfVersionOne) {
  const TestCertificate ancient = CertificateMaker("Ancient").version1().issuedBy(root).make();
  EXPECT_EQ("BC_MISSING", findings(leafBy(ancient).make(), {ancient}));
}

TEST_F(EvaluatorTest, IssuerThatIsNoCa) {
  const TestCertificate noCa = CertificateMaker("NoCa")
                                   .basicConstraints("critical,CA:FALSE")
                                   .keyUsage("critical,keyCertSign")
                                   .issuedBy(root)
                                   .make();
  EXPECT_EQ("BC_NOT_CA", findings(leafBy(noCa).make(), {noCa}));
}

TEST_F(EvaluatorTest, LeafThatIssuesAnotherLeaf) {
  const TestCertificate abused = leafBy(inter).make();
  EXPECT_EQ("KU_INVALID BC_NOT_CA",
            findings(CertificateMaker("evil").asServer().issuedBy(abused).make(), {abused, inter}));
}

TEST_F(EvaluatorTest, UnknownRoot) {
  const TestCertificate stranger = CertificateMaker("Stranger").asCa().make();
  EXPECT_EQ("NO_TRUSTED", findings(leafBy(stranger).make(), {stranger}));
}

TEST_F(EvaluatorTest, MissingIntermediate) {
  EXPECT_EQ("NO_TRUSTED", findings(leafBy(inter).make(), {}));
}

TEST_F(EvaluatorTest, SelfSignedLeafNobodyTrusts) {
  EXPECT_EQ("NO_TRUSTED", findings(CertificateMaker("self").make(), {}));
}

TEST_F(EvaluatorTest, StrangerWithTheNameOfTheAnchor) {
  const TestCertificate impostor = CertificateMaker("Root").asCa().make();
  EXPECT_EQ("NO_TRUSTED", findings(leafBy(impostor).make(), {impostor}));
}

TEST_F(EvaluatorTest, SignatureOfAnotherKey) {
  EXPECT_EQ("INVALID_SIGNATURE",
            findings(leafBy(inter).signedWith(TestKey::makeEc()).make(), {inter}));
}

TEST_F(EvaluatorTest, SignatureWithABrokenDigest) {
  EXPECT_EQ("INVALID_SIGNATURE", findings(leafBy(inter).digest("SHA1").make(), {inter}));
}

TEST_F(EvaluatorTest, KeyThatIsTooShort) {
  EXPECT_EQ("INVALID_SIGNATURE",
            findings(leafBy(inter).key(TestKey::makeRsa(1024)).make(), {inter}));
}

TEST_F(EvaluatorTest, RevokedLeaf) {
  const TestCertificate leaf = leafBy(inter).serial({7}).make();
  publish(CrlMaker(inter).revoke(leaf));
  EXPECT_EQ("REVOKED", findings(leaf, {inter}));
}

TEST_F(EvaluatorTest, RevokedIntermediate) {
  publish(CrlMaker(root).revoke(inter));
  EXPECT_EQ("REVOKED", findings(leafBy(inter).make(), {inter}));
}

TEST_F(EvaluatorTest, RevokedLeafThatIsAnAnchor) {
  const TestCertificate leaf = leafBy(root).serial({7}).make();
  trust(leaf);
  publish(CrlMaker(root).revoke(leaf));
  EXPECT_EQ("REVOKED", findings(leaf, {}));
}

TEST_F(EvaluatorTest, ListThatNamesOthersRevokesNobody) {
  publish(CrlMaker(inter).revoke(leafBy(inter).serial({8}).make()));
  EXPECT_EQ("", findings(leafBy(inter).serial({7}).make(), {inter}));
}

TEST_F(EvaluatorTest, StaleListProvesNothing) {
  const TestCertificate leaf = leafBy(inter).serial({7}).make();
  publish(CrlMaker(inter).revoke(leaf).nextUpdate("20251231235959Z"));
  EXPECT_EQ("", findings(leaf, {inter}));
}

TEST_F(EvaluatorTest, ListOfTheFutureProvesNothing) {
  const TestCertificate leaf = leafBy(inter).serial({7}).make();
  publish(CrlMaker(inter).revoke(leaf).lastUpdate("20270101000000Z"));
  EXPECT_EQ("", findings(leaf, {inter}));
}

TEST_F(EvaluatorTest, ForgedListProvesNothing) {
  const TestCertificate leaf = leafBy(inter).serial({7}).make();
  publish(CrlMaker(inter).revoke(leaf).signedWith(TestKey::makeEc()));
  EXPECT_EQ("", findings(leaf, {inter}));
}

TEST_F(EvaluatorTest, ListOfACaThatMayNotSignListsProvesNothing) {
  const TestCertificate noLists =
      CertificateMaker("NoLists").asCa().keyUsage("critical,keyCertSign").issuedBy(root).make();
  const TestCertificate leaf = leafBy(noLists).serial({7}).make();
  publish(CrlMaker(noLists).revoke(leaf));
  EXPECT_EQ("", findings(leaf, {noLists}));
}

TEST_F(EvaluatorTest, NameOutsideThePermittedTree) {
  const TestCertificate bound = CertificateMaker("Bound")
                                    .asCa()
                                    .nameConstraints("critical,permitted;DNS:other.example")
                                    .issuedBy(root)
                                    .make();
  EXPECT_EQ("NAME_CONSTRAINTS", findings(leafBy(bound).make(), {bound}));
}

TEST_F(EvaluatorTest, NameInTheExcludedTree) {
  const TestCertificate bound = CertificateMaker("Bound")
                                    .asCa()
                                    .nameConstraints("critical,excluded;DNS:leaf.example")
                                    .issuedBy(root)
                                    .make();
  EXPECT_EQ("NAME_CONSTRAINTS", findings(leafBy(bound).make(), {bound}));
}

TEST_F(EvaluatorTest, AnchorOfTheRightNameAndAnotherKeyIdentifier) {
  const TestCertificate keyed = CertificateMaker("Keyed").asCa().subjectKeyId({1, 2, 3}).make();
  trust(keyed);
  EXPECT_EQ("INVALID_ISSUER", findings(leafBy(keyed).authorityKeyId({9, 9, 9}).make(), {}));
}

TEST_F(EvaluatorTest, IntermediateOfTheRightNameAndKeyAndAnotherKeyIdentifier) {
  const TestCertificate keyed =
      CertificateMaker("Keyed").asCa().subjectKeyId({1, 2, 3}).issuedBy(root).make();
  EXPECT_EQ("INVALID_ISSUER", findings(leafBy(keyed).authorityKeyId({9, 9, 9}).make(), {keyed}));
}

TEST_F(EvaluatorTest, AllFindingsAreReportedAtOnce) {
  const TestCertificate stranger = CertificateMaker("Stranger").asCa().keyUsage("").make();
  EXPECT_EQ("UNKNOWN_CRITICAL_EXT CERT_EXPIRY KU_MISSING KU_INVALID NO_TRUSTED INVALID_SIGNATURE",
            findings(leafBy(stranger)
                         .unknownExtension(true)
                         .notAfter("20251231235959Z")
                         .extendedKeyUsage("clientAuth")
                         .signedWith(TestKey::makeEc())
                         .make(),
                     {stranger}));
}

}  // namespace
