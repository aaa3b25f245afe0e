#include "services/certmgr/path/PolicyProcessing.h"

#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "tests/services/certmgr/path/MadeCertificate.h"

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kAny = "\x55\x1d\x20\x00"sv;
constexpr std::string_view kGold = "\x2a\x01"sv;
constexpr std::string_view kSilver = "\x2a\x02"sv;
constexpr std::string_view kBronze = "\x2a\x03"sv;

// leaf <- low <- high <- anchor, and a policy is required
class PolicyProcessing : public testing::Test {
 protected:
  PolicyProcessing() { settings.requireExplicit = true; }

  static void assertPolicies(ParsedCertificate& certificate,
                             std::vector<std::string_view> policies) {
    certificate.policies.asserted = std::move(policies);
  }
  void assertEverywhere(std::string_view policy) {
    for (const auto& certificate : {leaf, low, high}) assertPolicies(*certificate, {policy});
  }

  std::string check(std::int64_t units = Budget::kDefault) {
    return check({leaf, low, high, anchor}, units);
  }
  std::string check(const std::vector<CertificatePtr>& path,
                    std::int64_t units = Budget::kDefault) const {
    Budget budget(units);
    std::vector<Finding> findings;
    checkPolicies(path, settings, budget, findings);
    std::string text;
    for (const Finding& finding : findings) {
      text += std::to_string(finding.member) + " " + std::string(nameOf(finding.reason)) + ": " +
              finding.evidence + "\n";
    }
    return text;
  }

  static std::shared_ptr<MadeCertificate> make(std::string_view subject, std::string_view issuer) {
    return MadeCertificate::make({{kCommonName, subject}}, {{kCommonName, issuer}});
  }

  PolicySettings settings;
  std::shared_ptr<MadeCertificate> leaf = make("Leaf", "Low");
  std::shared_ptr<MadeCertificate> low = make("Low", "High");
  std::shared_ptr<MadeCertificate> high = make("High", "Anchor");
  std::shared_ptr<MadeCertificate> anchor = make("Anchor", "Anchor");
  const std::string endsAtLeaf = "0 policy_missing: the policies end at CN=Leaf\n";
  const std::string endsAtLow = "0 policy_missing: the policies end at CN=Low\n";
  const std::string endsAtHigh = "0 policy_missing: the policies end at CN=High\n";
};

TEST_F(PolicyProcessing, NothingIsRequiredUnlessSomebodyAsks) {
  settings.requireExplicit = false;
  EXPECT_EQ("", check());
}

TEST_F(PolicyProcessing, SamePolicyAllTheWayIsValid) {
  assertEverywhere(kGold);
  EXPECT_EQ("", check());
}

TEST_F(PolicyProcessing, CertificateWithoutPoliciesEndsThem) {
  assertEverywhere(kGold);
  low->policies.asserted.reset();
  EXPECT_EQ(endsAtLow, check());
}

TEST_F(PolicyProcessing, AnchorNeedsNoPolicy) {
  assertPolicies(*leaf, {kGold});
  EXPECT_EQ("", check({leaf, anchor}));
}

TEST_F(PolicyProcessing, LeafThatIsTheAnchorNeedsNoPolicy) {
  EXPECT_EQ("", check({anchor}));
}

TEST_F(PolicyProcessing, DifferentPoliciesHaveNothingInCommon) {
  assertEverywhere(kGold);
  assertPolicies(*leaf, {kSilver});
  EXPECT_EQ(endsAtLeaf, check());
}

TEST_F(PolicyProcessing, OnePolicyInCommonIsEnough) {
  assertPolicies(*high, {kGold, kSilver});
  assertPolicies(*low, {kBronze, kSilver});
  assertPolicies(*leaf, {kSilver, kGold});
  EXPECT_EQ("", check());
}

TEST_F(PolicyProcessing, PolicyThatWasLeftOutDoesNotComeBack) {
  assertPolicies(*high, {kGold});
  assertPolicies(*low, {kGold});
  assertPolicies(*leaf, {kSilver});
  high->policies.asserted->push_back(kSilver);
  EXPECT_EQ(endsAtLeaf, check());
}

TEST_F(PolicyProcessing, AnyPolicyAboveCoversWhatComesBelow) {
  assertEverywhere(kAny);
  assertPolicies(*leaf, {kGold});
  EXPECT_EQ("", check());
}

TEST_F(PolicyProcessing, AnyPolicyBelowKeepsWhatWasAbove) {
  assertEverywhere(kAny);
  assertPolicies(*high, {kGold});
  EXPECT_EQ("", check());
}

TEST_F(PolicyProcessing, AnyPolicyBelowDoesNotWidenWhatWasAbove) {
  assertPolicies(*high, {kGold});
  assertPolicies(*low, {kAny});
  assertPolicies(*leaf, {kSilver});
  EXPECT_EQ(endsAtLeaf, check());
}

// The acceptable policies.

TEST_F(PolicyProcessing, AcceptablePolicyIsValid) {
  settings.acceptable = {std::string(kSilver), std::string(kGold)};
  assertEverywhere(kGold);
  EXPECT_EQ("", check());
}

TEST_F(PolicyProcessing, PolicyThatIsNotAcceptableIsNotValid) {
  settings.acceptable = {std::string(kSilver)};
  assertEverywhere(kGold);
  EXPECT_EQ("0 policy_missing: none of its policies is acceptable\n", check());
}

TEST_F(PolicyProcessing, AnyPolicyAllTheWayIsAcceptable) {
  settings.acceptable = {std::string(kSilver)};
  assertEverywhere(kAny);
  EXPECT_EQ("", check());
}

TEST_F(PolicyProcessing, AnyPolicyAmongTheAcceptableAcceptsAll) {
  settings.acceptable = {std::string(kAny)};
  assertEverywhere(kGold);
  EXPECT_EQ("", check());
}

TEST_F(PolicyProcessing, MappedPolicyIsAcceptedByTheNameItHasAtTheTop) {
  settings.acceptable = {std::string(kGold)};
  assertPolicies(*high, {kGold});
  high->policies.mappings = {{kGold, kSilver}};
  assertPolicies(*low, {kSilver});
  assertPolicies(*leaf, {kSilver});
  EXPECT_EQ("", check());
}

TEST_F(PolicyProcessing, MappedPolicyIsNotAcceptedByTheNameItHasAtTheLeaf) {
  settings.acceptable = {std::string(kSilver)};
  assertPolicies(*high, {kGold});
  high->policies.mappings = {{kGold, kSilver}};
  assertPolicies(*low, {kSilver});
  assertPolicies(*leaf, {kSilver});
  EXPECT_EQ("0 policy_missing: none of its policies is acceptable\n", check());
}

// Mappings.

TEST_F(PolicyProcessing, MappingReplacesThePolicyBelow) {
  assertEverywhere(kGold);
  low->policies.mappings = {{kGold, kSilver}};
  EXPECT_EQ(endsAtLeaf, check());
}

TEST_F(PolicyProcessing, MappingToSeveralAllowsEach) {
  assertEverywhere(kGold);
  low->policies.mappings = {{kGold, kSilver}, {kGold, kBronze}};
  assertPolicies(*leaf, {kBronze});
  EXPECT_EQ("", check());
}

TEST_F(PolicyProcessing, MappingOfSeveralToOneKeepsTheGoodOne) {
  settings.acceptable = {std::string(kGold)};
  assertPolicies(*high, {kGold, kSilver});
  assertPolicies(*low, {kGold, kSilver});
  low->policies.mappings = {{kGold, kBronze}, {kSilver, kBronze}};
  assertPolicies(*leaf, {kBronze});
  EXPECT_EQ("", check());
}

TEST_F(PolicyProcessing, MappingsMaySwapPolicies) {
  settings.acceptable = {std::string(kGold)};
  assertPolicies(*high, {kGold, kSilver});
  assertPolicies(*low, {kGold, kSilver});
  low->policies.mappings = {{kGold, kSilver}, {kSilver, kGold}};
  assertPolicies(*leaf, {kGold});
  EXPECT_EQ("0 policy_missing: none of its policies is acceptable\n", check());
}

TEST_F(PolicyProcessing, MappingUnderAnyPolicyCountsByItsUpperName) {
  settings.acceptable = {std::string(kGold)};
  assertEverywhere(kAny);
  low->policies.mappings = {{kGold, kSilver}};
  assertPolicies(*leaf, {kSilver});
  EXPECT_EQ("", check());
}

TEST_F(PolicyProcessing, MappingOfAPolicyThatIsNotValidMapsNothing) {
  assertEverywhere(kGold);
  low->policies.mappings = {{kSilver, kBronze}};
  assertPolicies(*leaf, {kBronze});
  EXPECT_EQ(endsAtLeaf, check());
}

TEST_F(PolicyProcessing, InhibitedMappingEndsThePolicy) {
  assertEverywhere(kGold);
  settings.inhibitMapping = true;
  low->policies.mappings = {{kGold, kSilver}};
  assertPolicies(*leaf, {kSilver, kGold});
  EXPECT_EQ(endsAtLeaf, check());
}

TEST_F(PolicyProcessing, MappingInhibitedFromAboveTakesEffectAfterItsCount) {
  assertEverywhere(kGold);
  high->policies.inhibitMapping = 0;
  low->policies.mappings = {{kGold, kSilver}};
  assertPolicies(*leaf, {kSilver});
  EXPECT_EQ(endsAtLeaf, check());
}

TEST_F(PolicyProcessing, MappingIsAllowedUntilTheCountIsOver) {
  assertEverywhere(kGold);
  high->policies.inhibitMapping = 1;
  low->policies.mappings = {{kGold, kSilver}};
  assertPolicies(*leaf, {kSilver});
  EXPECT_EQ("", check());
}

TEST_F(PolicyProcessing, MappingFromAnyPolicyIsAnErrorEvenIfNothingIsRequired) {
  settings.requireExplicit = false;
  low->policies.mappings = {{kAny, kSilver}};
  EXPECT_EQ("1 policy_missing: maps 2.5.29.32.0 to 1.2.2\n", check());
}

TEST_F(PolicyProcessing, MappingToAnyPolicyIsAnErrorEvenIfNothingIsRequired) {
  settings.requireExplicit = false;
  low->policies.mappings = {{kGold, kAny}};
  EXPECT_EQ("1 policy_missing: maps 1.2.1 to 2.5.29.32.0\n", check());
}

// anyPolicy, inhibited.

TEST_F(PolicyProcessing, InhibitedAnyPolicyIsNoPolicy) {
  settings.inhibitAny = true;
  assertEverywhere(kAny);
  EXPECT_EQ(endsAtHigh, check());
}

TEST_F(PolicyProcessing, AnyPolicyInhibitedFromAboveTakesEffectAfterItsCount) {
  assertEverywhere(kAny);
  high->policies.inhibitAny = 1;
  EXPECT_EQ(endsAtLeaf, check());
}

TEST_F(PolicyProcessing, LongerCountBelowDoesNotLiftAShorterOne) {
  assertEverywhere(kAny);
  high->policies.inhibitAny = 1;
  low->policies.inhibitAny = 5;
  EXPECT_EQ(endsAtLeaf, check());
}

TEST_F(PolicyProcessing, SelfIssuedIssuerMayAssertAnyPolicyWhereItIsInhibited) {
  const auto renewed = make("High", "High");
  assertEverywhere(kGold);
  high->policies.inhibitAny = 0;
  assertPolicies(*renewed, {kAny});
  EXPECT_EQ("", check({leaf, low, renewed, high, anchor}));
}

TEST_F(PolicyProcessing, SelfIssuedLeafMayNotAssertAnyPolicyWhereItIsInhibited) {
  const auto own = make("High", "High");
  assertPolicies(*high, {kGold});
  high->policies.inhibitAny = 0;
  assertPolicies(*own, {kAny});
  EXPECT_EQ("0 policy_missing: the policies end at CN=High\n", check({own, high, anchor}));
}

TEST_F(PolicyProcessing, SelfIssuedIssuerDoesNotCount) {
  const auto renewed = make("High", "High");
  assertEverywhere(kAny);
  assertPolicies(*renewed, {kAny});
  high->policies.inhibitAny = 1;
  EXPECT_EQ(endsAtLeaf, check({leaf, low, renewed, high, anchor}));
}

// A policy, required by a certificate.

TEST_F(PolicyProcessing, IssuerMayRequireAPolicyAtOnce) {
  settings.requireExplicit = false;
  high->policies.requireExplicit = 0;
  EXPECT_EQ(endsAtHigh, check());
}

TEST_F(PolicyProcessing, RequirementThatTheLeafStillReachesCounts) {
  settings.requireExplicit = false;
  high->policies.requireExplicit = 2;
  EXPECT_EQ(endsAtHigh, check());
}

TEST_F(PolicyProcessing, RequirementBeyondTheLeafDoesNotCount) {
  settings.requireExplicit = false;
  high->policies.requireExplicit = 3;
  EXPECT_EQ("", check());
}

TEST_F(PolicyProcessing, LeafMayRequireAPolicyOfItself) {
  settings.requireExplicit = false;
  leaf->policies.requireExplicit = 0;
  EXPECT_EQ(endsAtHigh, check());
}

TEST_F(PolicyProcessing, RequirementAfterTheLeafMeansNothing) {
  settings.requireExplicit = false;
  leaf->policies.requireExplicit = 1;
  EXPECT_EQ("", check());
}

TEST_F(PolicyProcessing, AnchorRequiresNothing) {
  settings.requireExplicit = false;
  anchor->policies.requireExplicit = 0;
  EXPECT_EQ("", check());
}

TEST_F(PolicyProcessing, SelfIssuedIssuerDoesNotShortenTheRequirement) {
  settings.requireExplicit = false;
  const auto renewed = make("High", "High");
  high->policies.requireExplicit = 3;
  EXPECT_EQ("", check({leaf, low, renewed, high, anchor}));
}

TEST_F(PolicyProcessing, SpentBudgetIsAFinding) {
  assertEverywhere(kGold);
  EXPECT_EQ("0 gave_up: there are too many policies\n", check(1));
}

}  // namespace
