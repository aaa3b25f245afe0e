#include "services/certmgr/path/NameConstraintCheck.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "services/certmgr/path/NameForms.h"
#include "services/certmgr/path/SubtreeIndex.h"

namespace {

using Kind = GeneralName::Kind;
using namespace std::string_view_literals;

constexpr std::string_view kCommonName = "\x55\x04\x03"sv;
constexpr std::string_view kEmailAddress = "\x2a\x86\x48\x86\xf7\x0d\x01\x09\x01"sv;
constexpr std::int64_t kVisitCost = 5;
constexpr std::int64_t kLookUpCost = 200;

// The constraints of one issuer.
struct Issuer {
  Issuer(const NameConstraints& constraints, Budget& budget)
      : permitted(constraints.permitted, SubtreeIndex::Role::permitted, budget),
        excluded(constraints.excluded, SubtreeIndex::Role::excluded, budget) {}

  bool concerns(Kind kind) const { return permitted.has(kind) || excluded.has(kind); }

  SubtreeIndex permitted;
  SubtreeIndex excluded;
};

// Text that clients could take for the name of a host. Bytes that no host name has do not
// save a name from that: whoever cuts it off at a NUL would be left with one. Nor do spaces save
// one with a wildcard, whose labels clients trim.
bool looksLikeHost(std::string_view text) {
  const bool isWildcard = text.find('*') != std::string_view::npos;
  return !text.empty() && std::none_of(text.begin(), text.end(), [&](char c) {
    return (c == ' ' && !isWildcard) ||
           "!\"#$%&'()+,/:;<=>?@[\\]^`{|}~"sv.find(c) != std::string_view::npos;
  });
}

std::optional<std::string> addressOctets(const std::string& text) {
  std::array<char, sizeof(in6_addr)> octets{};
  if (inet_pton(AF_INET, text.c_str(), octets.data()) == 1) return std::string(octets.data(), 4);
  if (inet_pton(AF_INET6, text.c_str(), octets.data()) == 1) return std::string(octets.data(), 16);
  return std::nullopt;
}

// All names of one certificate that are of a kind somebody constrains, in a fixed order.
class Names {
 public:
  Names(const ParsedCertificate& certificate, const std::vector<Issuer>& issuers, Budget& budget)
      : certificate_(certificate), budget_(budget) {
    for (std::size_t kind = 0; kind < isConstrained_.size(); ++kind) {
      isConstrained_[kind] = std::any_of(issuers.begin(), issuers.end(), [&](const Issuer& issuer) {
        return issuer.concerns(static_cast<Kind>(kind));
      });
    }
    budget.spend(kVisitCost * static_cast<std::int64_t>(certificate.altNames.size()));
  }

  std::vector<ConstrainedName> collect(bool isLeaf) && {
    const DistinguishedName& subject = certificate_.subject;
    for (const GeneralName& name : certificate_.altNames) {
      add(name.kind, name.bytes);
      if (name.kind == Kind::dns) addAddress(name.bytes);
    }
    if (!subject.isEmpty()) add(Kind::directory, subject.der());
    // The older places of names count where the newer one is not used.
    if (!hasAltName(Kind::email) && isConstrained(Kind::email)) {
      for (const std::string& mailbox : subject.values(kEmailAddress)) add(Kind::email, mailbox);
    }
    if (isLeaf) addCommonNames();
    return std::move(names_);
  }

 private:
  bool isConstrained(Kind kind) const { return isConstrained_.at(static_cast<std::size_t>(kind)); }

  bool hasAltName(Kind kind) const {
    return std::any_of(certificate_.altNames.begin(), certificate_.altNames.end(),
                       [kind](const GeneralName& name) { return name.kind == kind; });
  }

  void add(Kind kind, std::string_view bytes) {
    if (isConstrained(kind) && !budget_.isSpent()) {
      names_.emplace_back(kind, std::string(bytes), budget_);
    }
  }

  // Clients that compare texts take an address that is written as a name for one.
  void addAddress(std::string_view text) {
    if (!isConstrained(Kind::address) || !budget_.spend(kLookUpCost)) return;
    if (const auto octets = addressOctets(std::string(text))) add(Kind::address, *octets);
  }

  // Clients fall back to them for want of a DNS name.
  void addCommonNames() {
    if (hasAltName(Kind::dns)) return;
    if (!isConstrained(Kind::dns) && !isConstrained(Kind::address)) return;
    for (const std::string& name : certificate_.subject.values(kCommonName)) {
      addAddress(name);
      if (looksLikeHost(name)) add(Kind::dns, name);
    }
  }

  const ParsedCertificate& certificate_;
  Budget& budget_;
  std::array<bool, static_cast<std::size_t>(Kind::registeredId) + 1> isConstrained_{};
  std::vector<ConstrainedName> names_;
};

// Holds the names of one certificate against the issuers above it.
class Comparison {
 public:
  Comparison(std::size_t member, std::vector<Finding>& findings)
      : member_(member), findings_(findings) {}

  void compare(const ConstrainedName& name, const Issuer& issuer) {
    if (issuer.excluded.has(name.kind)) compareWithExcluded(name, issuer.excluded);
    if (issuer.permitted.has(name.kind)) compareWithPermitted(name, issuer.permitted);
  }

 private:
  void compareWithExcluded(const ConstrainedName& name, const SubtreeIndex& excluded) {
    // Wherever an improper name lies, it may be meant to look as if it were elsewhere.
    if (const GeneralName* unclear = excluded.notUnderstood(name.kind)) {
      report(Reason::constraintNotUnderstood, name, " cannot be compared with ", *unclear, 1);
    } else if (!name.key) {
      report(Reason::nameExcluded, name, " is malformed, which does not keep it out of ",
             excluded.first(name.kind), excluded.count(name.kind));
    } else if (const GeneralName* subtree = excluded.find(name)) {
      report(Reason::nameExcluded, name, " is within ", *subtree, 1);
    }
  }

  void compareWithPermitted(const ConstrainedName& name, const SubtreeIndex& permitted) {
    if (const GeneralName* unclear = permitted.notUnderstood(name.kind)) {
      report(Reason::constraintNotUnderstood, name, " cannot be compared with ", *unclear, 1);
    } else if (!name.key || permitted.find(name) == nullptr) {
      report(Reason::nameNotPermitted, name,
             name.key ? " is outside of " : " is malformed, and so outside of ",
             permitted.first(name.kind), permitted.count(name.kind));
    }
  }

  void report(Reason reason, const ConstrainedName& name, const char* relation,
              const GeneralName& subtree, std::size_t subtrees) {
    if (!reported_.insert(reason).second) return;
    std::string evidence = name.text() + relation + nameText(subtree.kind, subtree.bytes);
    if (subtrees > 1) evidence += " and " + std::to_string(subtrees - 1) + " more";
    findings_.push_back({reason, member_, std::move(evidence)});
  }

  std::size_t member_;
  std::vector<Finding>& findings_;
  std::set<Reason> reported_;
};

void checkMember(const ParsedCertificate& certificate, std::size_t member,
                 const std::vector<Issuer>& issuers, Budget& budget,
                 std::vector<Finding>& findings) {
  Comparison comparison(member, findings);
  for (const ConstrainedName& name : Names(certificate, issuers, budget).collect(member == 0)) {
    for (const Issuer& issuer : issuers) {
      if (!issuer.concerns(name.kind)) continue;
      if (!budget.spend(kLookUpCost + static_cast<std::int64_t>(name.bytes.size()))) break;
      comparison.compare(name, issuer);
    }
  }
}

}  // namespace

void checkNameConstraints(const std::vector<CertificatePtr>& path, Budget& budget,
                          std::vector<Finding>& findings) {
  std::vector<Issuer> issuers;  // from the anchor down
  for (std::size_t member = path.size(); member-- > 0;) {
    const ParsedCertificate& certificate = *path[member];
    // A certificate that a CA made for itself is one more of its own keys, not one of its
    // subjects; a leaf is judged whoever made it.
    const bool isExempt = member > 0 && certificate.isSelfIssued();
    if (!issuers.empty() && !isExempt) checkMember(certificate, member, issuers, budget, findings);
    if (member > 0 && certificate.nameConstraints) {
      issuers.emplace_back(*certificate.nameConstraints, budget);
    }
    if (!issuers.empty() && budget.isSpent()) {
      findings.push_back({Reason::constraintNotUnderstood, member,
                          "there are too many names and constraints to compare them all"});
      return;
    }
  }
}
