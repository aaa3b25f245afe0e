#include "services/certmgr/path/PolicyProcessing.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "services/certmgr/path/DerReader.h"

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kAnyPolicy = "\x55\x1d\x20\x00"sv;
constexpr std::int64_t kNodeCost = 200;

// How many more certificates may come before a rule takes effect; 0: it is in effect.
class Countdown {
 public:
  Countdown(bool inEffect, std::size_t never) : left_(inEffect ? 0 : never) {}

  bool isInEffect() const { return left_ == 0; }
  void step() { left_ -= left_ > 0 ? 1 : 0; }
  void shorten(const std::optional<unsigned>& skip) {
    if (skip) left_ = std::min<std::size_t>(left_, *skip);
  }

 private:
  std::size_t left_;
};

// Whether the path, as it ends, has to have a valid policy. The policies themselves have no
// part in that.
bool isPolicyRequired(const std::vector<CertificatePtr>& path, const PolicySettings& settings) {
  Countdown requirement(settings.requireExplicit, path.size());
  for (std::size_t member = path.size() - 1; member-- > 1;) {
    if (!path[member]->isSelfIssued()) requirement.step();
    requirement.shorten(path[member]->policies.requireExplicit);
  }
  requirement.step();
  // For the leaf itself only a demand at once means anything.
  const std::optional<unsigned>& demand = path.front()->policies.requireExplicit;
  return requirement.isInEffect() || (demand && *demand == 0);
}

// The deepest level of the policy graph. A node is a policy with all the ways that lead to it
// at once, so a level is never larger than the policies that its certificate names. Of the
// levels above only one thing is ever asked again: whether a way to the node starts at a policy
// that is acceptable. Each node carries the answer.
class PolicyGraph {
 public:
  PolicyGraph(const PolicySettings& settings, Budget& budget)
      : acceptable_(settings.acceptable.begin(), settings.acceptable.end()), budget_(budget) {}

  // The policies of the next certificate.
  void descend(const Policies& policies, bool anyPolicyCounts) {
    Nodes nodes;
    bool assertsAny = false;
    for (const std::string_view policy : policies.asserted.value_or(Asserted())) {
      if (!budget_.spend(kNodeCost)) return;
      const auto expected = nodes_.find(policy);
      if (policy == kAnyPolicy) {
        assertsAny = anyPolicyCounts;
      } else if (expected != nodes_.end()) {
        nodes.insert(*expected);
      } else if (hasAny_) {
        nodes.emplace(policy, isAcceptable(policy));
      }
    }
    if (assertsAny) {
      if (!budget_.spend(kNodeCost * static_cast<std::int64_t>(nodes_.size()))) return;
      nodes.insert(nodes_.begin(), nodes_.end());  // those that are not there yet
    }
    hasAny_ = hasAny_ && assertsAny;
    nodes_ = std::move(nodes);
  }

  // From the policies of an issuer's domain to those which are expected below it.
  void map(const Policies& policies, bool mappingIsInhibited) {
    Nodes mapped = nodes_;
    for (const auto& [issuers, subjects] : policies.mappings) {
      if (!budget_.spend(kNodeCost)) return;
      mapped.erase(issuers);
    }
    if (!mappingIsInhibited) {
      for (const auto& [issuers, subjects] : policies.mappings) {
        const auto node = nodes_.find(issuers);
        if (node == nodes_.end() && !hasAny_) continue;
        if (!budget_.spend(kNodeCost)) return;
        const bool isGood = node == nodes_.end() ? isAcceptable(issuers) : node->second;
        bool& target = mapped[subjects];
        target = target || isGood;
      }
    }
    nodes_ = std::move(mapped);
  }

  bool isEmpty() const { return nodes_.empty() && !hasAny_; }
  // anyPolicy down to the leaf stands for whatever is acceptable.
  bool hasAcceptable() const {
    return hasAny_ ||
           std::any_of(nodes_.begin(), nodes_.end(), [](const auto& node) { return node.second; });
  }

 private:
  using Asserted = std::vector<std::string_view>;
  using Nodes = std::map<std::string_view, bool>;  // what is expected; whether it is acceptable

  bool isAcceptable(std::string_view policy) const {
    return acceptable_.empty() || acceptable_.contains(kAnyPolicy) || acceptable_.contains(policy);
  }

  std::set<std::string_view> acceptable_;
  Budget& budget_;
  Nodes nodes_;
  bool hasAny_ = true;
};

// anyPolicy stands for all policies, and cannot be mapped.
void checkMappings(const ParsedCertificate& certificate, std::size_t member,
                   std::vector<Finding>& findings) {
  for (const auto& [issuers, subjects] : certificate.policies.mappings) {
    if (issuers != kAnyPolicy && subjects != kAnyPolicy) continue;
    findings.push_back(
        {Reason::policyMissing, member, "maps " + oidText(issuers) + " to " + oidText(subjects)});
    return;
  }
}

void checkGraph(const std::vector<CertificatePtr>& path, const PolicySettings& settings,
                Budget& budget, std::vector<Finding>& findings) {
  PolicyGraph graph(settings, budget);
  Countdown anyPolicyStop(settings.inhibitAny, path.size());
  Countdown mappingStop(settings.inhibitMapping, path.size());
  for (std::size_t member = path.size() - 1; member-- > 0 && !budget.isSpent();) {
    const ParsedCertificate& certificate = *path[member];
    const bool isSelfIssuedCa = member > 0 && certificate.isSelfIssued();
    graph.descend(certificate.policies, !anyPolicyStop.isInEffect() || isSelfIssuedCa);
    if (graph.isEmpty() && !budget.isSpent()) {
      findings.push_back(
          {Reason::policyMissing, 0, "the policies end at " + certificate.subject.text()});
      return;
    }
    if (member == 0) break;
    graph.map(certificate.policies, mappingStop.isInEffect());
    if (!isSelfIssuedCa) {
      mappingStop.step();
      anyPolicyStop.step();
    }
    mappingStop.shorten(certificate.policies.inhibitMapping);
    anyPolicyStop.shorten(certificate.policies.inhibitAny);
  }
  if (budget.isSpent()) {
    findings.push_back({Reason::gaveUp, 0, "there are too many policies"});
  } else if (!graph.hasAcceptable()) {
    findings.push_back({Reason::policyMissing, 0, "none of its policies is acceptable"});
  }
}

}  // namespace

void checkPolicies(const std::vector<CertificatePtr>& path, const PolicySettings& settings,
                   Budget& budget, std::vector<Finding>& findings) {
  if (path.size() < 2) return;  // an anchor is not asked for anything
  for (std::size_t member = 1; member + 1 < path.size(); ++member) {
    checkMappings(*path[member], member, findings);
  }
  if (isPolicyRequired(path, settings)) checkGraph(path, settings, budget, findings);
}
