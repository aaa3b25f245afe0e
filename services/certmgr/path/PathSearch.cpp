#include "services/certmgr/path/PathSearch.h"

#include <algorithm>
#include <bit>
#include <compare>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include "services/certmgr/path/NameConstraintCheck.h"
#include "services/certmgr/path/PathCheck.h"
#include "services/certmgr/path/RevocationCheck.h"

namespace {

// In units of the budget, measured and rounded up.
constexpr std::int64_t kCandidateCost = 500;
constexpr std::int64_t kMemberCost = 2'000;
constexpr std::int64_t kFindingCost = 500;

// Of looking a name up, or holding it against another one of the same length.
std::int64_t costOf(const DistinguishedName& name) {
  return 20 + static_cast<std::int64_t>(name.key().size() / 4);
}

struct Candidate {
  CertificatePtr certificate;
  const Anchor* anchor = nullptr;
  enum class Fit { named, possible, excluded } fit = Fit::possible;
  bool inTime = true;

  auto rank() const {
    return std::tuple(fit, anchor == nullptr, !inTime, std::cref(certificate->fingerprint).get());
  }
};

Candidate::Fit fitOf(const ParsedCertificate& certificate, const ParsedCertificate& issuer) {
  if (namesOtherKey(certificate, issuer)) return Candidate::Fit::excluded;
  const bool isNamed =
      certificate.authorityKey && certificate.authorityKey->identifier && issuer.subjectKeyId;
  return isNamed ? Candidate::Fit::named : Candidate::Fit::possible;
}

std::optional<Reason> reasonOf(SignatureState state) {
  switch (state) {
    case SignatureState::good:
      return {};
    case SignatureState::wrong:
      return Reason::signatureWrong;
    case SignatureState::unsupported:
      return Reason::signatureUnsupported;
    case SignatureState::weak:
      return Reason::signatureWeak;
    case SignatureState::inconsistent:
      return Reason::algorithmsDiffer;
  }
  return Reason::signatureUnsupported;
}

bool isFromThatKey(SignatureState state) {
  return state == SignatureState::good || state == SignatureState::weak;
}

class PathSearch {
 public:
  PathSearch(const PathInput& input, Moment& moment, Budget& budget, SignatureMemory& signatures)
      : input_(input), moment_(moment), budget_(budget), signatures_(signatures) {
    for (const CertificatePtr& other : input.others) others_.push_back(other);
    std::sort(others_.begin(), others_.end(), [](const auto& one, const auto& other) {
      return one->fingerprint < other->fingerprint;
    });
    const auto last = std::unique(
        others_.begin(), others_.end(),
        [](const auto& one, const auto& other) { return one->fingerprint == other->fingerprint; });
    others_.erase(last, others_.end());
  }

  Evaluation run() {
    path_.push_back(input_.leaf);
    const Anchor* anchor = input_.store.find(*input_.leaf);
    if (anchor != nullptr) {
      judge(anchor);
    } else {
      extend();
    }
    best_.gaveUp = budget_.isSpent() && !best_.isValid();
    best_.from = moment_.from();
    best_.until = moment_.until();
    return std::move(best_);
  }

 private:
  bool isDone() const { return (best_.pathsTried > 0 && best_.isValid()) || budget_.isSpent(); }

  bool isOnPath(const ParsedCertificate& certificate) const {
    return std::any_of(path_.begin(), path_.end(), [&](const CertificatePtr& member) {
      return member->subject == certificate.subject &&
             member->key->identity() == certificate.key->identity();
    });
  }

  std::vector<Candidate> candidatesFor(const ParsedCertificate& certificate) {
    std::vector<Candidate> found;
    const std::int64_t nameCost = costOf(certificate.issuer);
    budget_.spend(nameCost * static_cast<std::int64_t>(others_.size() + 1));
    const std::int64_t cost =
        kCandidateCost + nameCost * static_cast<std::int64_t>(path_.size() + 1);
    const auto consider = [&](const CertificatePtr& issuer, const Anchor* anchor) {
      if (!budget_.spend(cost) || isOnPath(*issuer)) return;
      found.push_back({issuer, anchor, fitOf(certificate, *issuer), isInTime(*issuer, moment_)});
    };
    for (const Anchor& anchor : input_.store.anchorsNamed(certificate.issuer)) {
      consider(anchor.certificate, &anchor);
    }
    for (const CertificatePtr& other : others_) {
      const bool bearsTheName = other->subject == certificate.issuer;
      if (bearsTheName && input_.store.find(*other) == nullptr) consider(other, nullptr);
    }
    std::sort(found.begin(), found.end(), [](const Candidate& one, const Candidate& other) {
      return one.rank() < other.rank();
    });
    return found;
  }

  // Nothing when there is no budget for the check. A check is paid for once in an evaluation.
  std::optional<SignatureState> signatureOf(const ParsedCertificate& certificate,
                                            const PublicKey& key) {
    const auto [known, isNew] =
        checked_.try_emplace(std::pair(&certificate.fingerprint, &key.identity()));
    if (isNew && budget_.spend(checkCost(certificate.signedBytes, key))) {
      known->second = signatures_.check(certificate.signedBytes, certificate.fingerprint, key);
    }
    return known->second;
  }

  // Whoever it shares its name with, nobody else issued it.
  bool isSelfSigned(const ParsedCertificate& certificate) {
    if (!certificate.isSelfIssued()) return false;
    const auto state = signatureOf(certificate, *certificate.key);
    return state && isFromThatKey(*state);
  }

  void extend() {
    const CertificatePtr top = path_.back();
    const std::vector<Candidate> candidates = candidatesFor(*top);
    bool anyIssued = false;
    for (const Candidate& candidate : candidates) {
      if (isDone()) break;
      const auto state = signatureOf(*top, *candidate.certificate->key);
      if (!state || !isFromThatKey(*state)) continue;
      anyIssued = true;
      climb(candidate);
    }
    if (isDone() && best_.pathsTried > 0) return;
    if (anyIssued) return;
    const bool hasStandIn = !candidates.empty() &&
                            candidates.front().fit != Candidate::Fit::excluded &&
                            !isSelfSigned(*top);
    if (hasStandIn && !budget_.isSpent()) return climb(candidates.front());
    judge(nullptr);
  }

  void climb(const Candidate& candidate) {
    path_.push_back(candidate.certificate);
    if (candidate.anchor != nullptr) {
      judge(candidate.anchor);
    } else {
      extend();
    }
    path_.pop_back();
  }

  void checkLinks(std::vector<Finding>& findings) {
    for (std::size_t i = 0; i + 1 < path_.size(); ++i) {
      const ParsedCertificate& issuer = *path_[i + 1];
      if (namesOtherKey(*path_[i], issuer)) {
        findings.push_back({Reason::otherKeyIdentifier, i, "issuer " + issuer.subject.text()});
      }
      checkSignatureBy(i, *issuer.key, findings);
    }
  }

  void checkSignatureBy(std::size_t member, const PublicKey& key, std::vector<Finding>& findings) {
    const auto state = signatureOf(*path_[member], key);
    const std::optional<Reason> reason = state ? reasonOf(*state) : Reason::gaveUp;
    if (!reason) return;
    findings.push_back({*reason, member, algorithmText(path_[member]->signedBytes.algorithm)});
  }

  // Why the path ends where it does, short of an anchor.
  void checkEnd(std::vector<Finding>& findings) {
    const std::size_t member = path_.size() - 1;
    const ParsedCertificate& top = *path_.back();
    if (budget_.isSpent()) {
      findings.push_back({Reason::gaveUp, member, "the budget is spent"});
      return;
    }
    if (!top.isSelfIssued()) {
      const std::string issuer = top.issuer.text();
      findings.push_back({Reason::noAnchor, member, "no certificate of " + issuer});
      if (const auto* other = namesake(top)) {
        findings.push_back(
            {Reason::otherKeyIdentifier, member, "not issued by " + other->subject.text()});
      }
      return;
    }
    findings.push_back({Reason::noAnchor, member, "it is its own issuer, and no anchor"});
    if (!namesOtherKey(top, top)) checkSignatureBy(member, *top.key, findings);
  }

  // Somebody who bears the name of the missing issuer, and is not he.
  const ParsedCertificate* namesake(const ParsedCertificate& top) const {
    const auto& anchors = input_.store.anchorsNamed(top.issuer);
    if (!anchors.empty()) return anchors.front().certificate.get();
    const auto found =
        std::find_if(others_.begin(), others_.end(), [&](const CertificatePtr& other) {
          return other->subject == top.issuer && !isOnPath(*other);
        });
    return found == others_.end() ? nullptr : found->get();
  }

  // Judges the path as it stands, which ends in `anchor` or, when that is NULL, in nothing.
  void judge(const Anchor* anchor) {
    std::vector<Finding> findings;
    budget_.spend(kMemberCost * static_cast<std::int64_t>(path_.size()));
    checkMembers(path_, anchor, moment_, findings);
    checkLinks(findings);
    checkNameConstraints(path_, budget_, findings);
    checkRevocation(path_, others_, input_.store, moment_, budget_, signatures_, findings);
    if (anchor != nullptr) {
      checkPolicies(path_, input_.policies, budget_, findings);
      if (budget_.isSpent() && findings.empty()) {
        findings.push_back({Reason::gaveUp, 0, "the budget is spent"});
      }
    } else {
      checkEnd(findings);
    }
    budget_.spend(kFindingCost * static_cast<std::int64_t>(findings.size()));
    std::sort(findings.begin(), findings.end());
    findings.erase(std::unique(findings.begin(), findings.end()), findings.end());

    Evaluation found;
    found.path = path_;
    found.endsInAnchor = anchor != nullptr;
    found.findings = std::move(findings);
    found.pathsTried = best_.pathsTried + 1;
    if (best_.pathsTried == 0 || rankOf(found) < rankOf(best_)) {
      best_ = std::move(found);
    } else {
      best_.pathsTried = found.pathsTried;
    }
  }

  static std::tuple<bool, int, std::size_t, std::size_t> rankOf(const Evaluation& evaluation) {
    const std::size_t length = evaluation.path.size();
    return {!evaluation.endsInAnchor, std::popcount(evaluation.warnings()),
            evaluation.findings.size(), evaluation.endsInAnchor ? 0 : ~length};
  }

  const PathInput& input_;
  Moment& moment_;
  Budget& budget_;
  SignatureMemory& signatures_;
  std::vector<CertificatePtr> others_;  // sorted, each once
  std::vector<CertificatePtr> path_;
  std::map<std::pair<const std::string*, const std::string*>, std::optional<SignatureState>>
      checked_;
  Evaluation best_;
};

}  // namespace

Evaluation findPath(const PathInput& input, Moment& moment, Budget& budget,
                    SignatureMemory& signatures) {
  return PathSearch(input, moment, budget, signatures).run();
}
