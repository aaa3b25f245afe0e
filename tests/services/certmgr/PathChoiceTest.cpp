// The good path is found whenever there is one, and always the same.
#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/services/certmgr/JudgedTest.h"

namespace {

constexpr const char* kPast = "20251231235959Z";

class PathChoiceTest : public JudgedTest {
 protected:
  // An intermediate under another issuer, with the key it already has.
  static TestCertificate crossSigned(const TestCertificate& certificate, const char* name,
                                     const TestCertificate& issuer) {
    return ca(name).key(certificate.key()).issuedBy(issuer).make();
  }

  TestCertificate stranger = ca("Stranger").make();
};

TEST_F(PathChoiceTest, CrossSignedIntermediateLeadsToTheAnchorThatIsThere) {
  const TestCertificate byStranger = crossSigned(inter, "Inter", stranger);
  const Evaluation found = evaluate(leafBy(inter).make(), {byStranger, stranger, inter});
  EXPECT_EQ("", namesOf(found.warnings()));
  EXPECT_EQ("leaf.example < Inter < Root", pathOf(found));
}

TEST_F(PathChoiceTest, RenewedIntermediateIsTakenInPlaceOfTheExpiredOne) {
  const TestCertificate expired =
      ca("Inter").key(inter.key()).notAfter(kPast).issuedBy(root).make();
  EXPECT_EQ("", findings(leafBy(inter).make(), {expired, inter}));
}

TEST_F(PathChoiceTest, ExpiredCrossRootDoesNotSpoilTheAnchorOfTheSameName) {
  const TestCertificate old = ca("Old Root").notAfter(kPast).make();
  trust(old);
  const TestCertificate crossRoot = ca("Root").key(root.key()).notAfter(kPast).issuedBy(old).make();
  EXPECT_EQ("", findings(leafBy(inter).make(), {inter, crossRoot, old}));
}

TEST_F(PathChoiceTest, AnchorIsFoundAboveAnExpiredOne) {
  const TestCertificate expiredRoot = ca("Root").key(root.key()).notAfter(kPast).make();
  trust(expiredRoot);
  EXPECT_EQ("", findings(leafBy(inter).make(), {inter}));
}

TEST_F(PathChoiceTest, OfSameNamedIssuersWithoutKeyIdentifiersTheOneThatSignedIsFound) {
  std::vector<TestCertificate> others;
  for (int i = 0; i < 8; ++i) others.push_back(ca("Inter").issuedBy(root).make());
  const TestCertificate leaf = leafBy(others[5]).make();
  EXPECT_EQ("", findings(leaf, others));
}

TEST_F(PathChoiceTest, DeadEndIsLeftForThePathBesideIt) {
  // The dead end looks better at each step: its key identifiers are named.
  const TestCertificate named =
      ca("Inter").key(inter.key()).subjectKeyId({1}).issuedBy(stranger).make();
  const TestCertificate leaf = leafBy(inter).authorityKeyId({1}).make();
  EXPECT_EQ("", findings(leaf, {named, inter}));
}

TEST_F(PathChoiceTest, PathWithoutNameConstraintsIsPreferredToOneThatForbidsTheName) {
  const TestCertificate bound = ca("Inter")
                                    .key(inter.key())
                                    .nameConstraints("critical,permitted;DNS:other.example")
                                    .issuedBy(root)
                                    .make();
  EXPECT_EQ("", findings(leafBy(inter).make(), {bound, inter}));
}

TEST_F(PathChoiceTest, LoopOfCrossSignedAuthoritiesEnds) {
  const TestCertificate one = ca("One").make();
  const TestCertificate two = ca("Two").make();
  const TestCertificate oneByTwo = crossSigned(one, "One", two);
  const TestCertificate twoByOne = crossSigned(two, "Two", one);
  EXPECT_EQ("NO_TRUSTED", findings(leafBy(one).make(), {oneByTwo, twoByOne}));
}

TEST_F(PathChoiceTest, WayOutOfALoopIsFound) {
  const TestCertificate one = ca("One").make();
  const TestCertificate two = ca("Two").make();
  const std::vector<TestCertificate> others = {
      crossSigned(one, "One", two), crossSigned(two, "Two", one), crossSigned(two, "Two", root)};
  EXPECT_EQ("", findings(leafBy(one).make(), others));
}

TEST_F(PathChoiceTest, LongChainIsFollowedToItsEnd) {
  std::vector<TestCertificate> others;
  TestCertificate last = root;
  for (int i = 0; i < 40; ++i) {
    last = ca(("Inter " + std::to_string(i)).c_str()).issuedBy(last).make();
    others.push_back(last);
  }
  EXPECT_EQ("", findings(leafBy(last).make(), others));
}

TEST_F(PathChoiceTest, AuthorityNamedBySerialNumberIsTaken) {
  const TestCertificate twin = ca("Inter").serial({9}).key(inter.key()).issuedBy(stranger).make();
  const TestCertificate leaf =
      leafBy(inter).extension("authorityKeyIdentifier", "issuer:always").make();
  EXPECT_EQ("", findings(leaf, {twin, inter, stranger}));
}

TEST_F(PathChoiceTest, PathToAnAnchorIsPreferredToABetterOneThatLeadsNowhere) {
  const TestCertificate expired =
      ca("Inter").key(inter.key()).notAfter(kPast).issuedBy(root).make();
  const TestCertificate nowhere = crossSigned(inter, "Inter", stranger);
  const Evaluation found = evaluate(leafBy(inter).make(), {nowhere, expired});
  EXPECT_EQ("CERT_EXPIRY", namesOf(found.warnings()));
  EXPECT_TRUE(found.endsInAnchor);
}

TEST_F(PathChoiceTest, OfTwoBadPathsTheOneWithFewerKindsOfWarningsIsChosen) {
  const TestCertificate worse =
      ca("Inter").key(inter.key()).notAfter(kPast).keyUsage("").issuedBy(root).make();
  const TestCertificate bad = ca("Inter").key(inter.key()).keyUsage("").issuedBy(root).make();
  EXPECT_EQ("KU_MISSING", findings(leafBy(inter).make(), {worse, bad}));
}

TEST_F(PathChoiceTest, FirstAnchorEndsThePath) {
  trust(inter);
  EXPECT_EQ("leaf.example < Inter", pathOf(evaluate(leafBy(inter).make(), {inter, root})));
}

// The chain that every rule of choosing has a part in.
std::vector<std::string> crowdedChain(const TestCertificate& leaf,
                                      std::vector<TestCertificate> others, unsigned shuffle) {
  std::shuffle(others.begin(), others.end(), std::mt19937(shuffle));
  std::vector<std::string> chain{leaf.derString()};
  for (const TestCertificate& other : others) chain.push_back(other.derString());
  return chain;
}

std::string bytesOf(const Evaluation& evaluation) {
  std::string bytes;
  for (const CertificatePtr& member : evaluation.path) bytes += member->fingerprint;
  for (const Finding& finding : evaluation.findings) {
    bytes += std::string(nameOf(finding.reason)) + std::to_string(finding.member) +
             finding.evidence + ";";
  }
  return bytes;
}

TEST_F(PathChoiceTest, OrderAndMemoryChangeNoByteOfAVerdict) {
  const std::vector<TestCertificate> others = {
      inter,
      crossSigned(inter, "Inter", stranger),
      ca("Inter").key(inter.key()).notAfter(kPast).issuedBy(root).make(),
      ca("Inter").issuedBy(root).make(),
      ca("Inter").key(inter.key()).keyUsage("").issuedBy(root).make(),
      stranger,
      root,
  };
  const TestCertificate good = leafBy(inter).make();
  const TestCertificate bad = leafBy(inter).notAfter(kPast).extendedKeyUsage("clientAuth").make();
  const TestCertificate forged = leafBy(inter).signedWith(TestKey::makeEc()).make();
  Evaluator warm;
  EvaluatorOptions none;
  none.certificateBytes = none.signatures = none.verdictBytes = 0;
  Evaluator withoutMemory(none);
  for (const TestCertificate& leaf : {good, bad, forged}) {
    const std::string expected = bytesOf(evaluate(leaf, others));
    for (unsigned shuffle = 0; shuffle < 30; ++shuffle) {
      const std::vector<std::string> chain = crowdedChain(leaf, others, shuffle);
      if (shuffle % 10 == 9) warm.forget();
      EXPECT_EQ(expected, bytesOf(*warm.evaluate(chain, store, 1767225600).evaluation));
      EXPECT_EQ(expected, bytesOf(*withoutMemory.evaluate(chain, store, 1767225600).evaluation));
    }
  }
}

TEST_F(PathChoiceTest, CertificateSentTwiceChangesNothing) {
  const TestCertificate leaf = leafBy(inter).make();
  EXPECT_EQ("", findings(leaf, {inter, leaf, inter, root, inter}));
}

// Every one of them may have issued every other: more paths than anybody can look at.
class MeshTest : public JudgedTest {
 protected:
  static std::vector<TestCertificate> mesh(int size) {
    std::vector<TestCertificate> members;
    TestCertificate last = ca("Mesh").make();
    for (int i = 0; i < size; ++i) {
      last = ca("Mesh").issuedBy(last).make();
      members.push_back(last);
    }
    return members;
  }
};

TEST_F(MeshTest, IsGivenUpAndNotTrusted) {
  const std::vector<TestCertificate> members = mesh(50);
  const Evaluation found = evaluate(leafBy(members.back()).make(), members);
  EXPECT_TRUE(found.gaveUp);
  EXPECT_EQ("NO_TRUSTED", namesOf(found.warnings() & CertificateWarnings::NO_TRUSTED));
}

TEST_F(MeshTest, IsGivenUpAtTheSamePlaceWhateverIsRemembered) {
  const std::vector<TestCertificate> members = mesh(50);
  const std::vector<std::string> chain = chainOf(leafBy(members.back()).make(), members);
  EvaluatorOptions noVerdicts;
  noVerdicts.verdictBytes = 0;
  Evaluator evaluator(noVerdicts);
  const std::string cold = bytesOf(*evaluator.evaluate(chain, store, 1767225600).evaluation);
  EXPECT_EQ(cold, bytesOf(*evaluator.evaluate(chain, store, 1767225600).evaluation));
}

TEST_F(MeshTest, OfOneKeyEndsToo) {
  // All cross-signed by each other: a name and a key are visited once a path.
  const TestKey key = TestKey::makeEc();
  std::vector<TestCertificate> members;
  for (int i = 0; i < 50; ++i) {
    members.push_back(ca("Mesh").key(key).serial({static_cast<unsigned char>(i + 1)}).make());
  }
  EXPECT_EQ("NO_TRUSTED", findings(leafBy(members.front()).make(), members));
}

TEST_F(MeshTest, OfManyNamesEndsToo) {
  std::vector<TestCertificate> roots;
  for (int i = 0; i < 7; ++i) roots.push_back(ca(("Mesh " + std::to_string(i)).c_str()).make());
  std::vector<TestCertificate> members;
  for (int i = 0; i < 7; ++i) {
    for (int j = 0; j < 7; ++j) {
      if (i == j) continue;
      members.push_back(ca(("Mesh " + std::to_string(i)).c_str())
                            .key(roots[static_cast<std::size_t>(i)].key())
                            .issuedBy(roots[static_cast<std::size_t>(j)])
                            .make());
    }
  }
  const Evaluation found = evaluate(leafBy(roots.front()).make(), members);
  EXPECT_EQ("NO_TRUSTED", namesOf(found.warnings()));
}

}  // namespace
