#include "services/certmgr/path/RevocationCheck.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "services/certmgr/path/Digest.h"
#include "services/certmgr/path/PathCheck.h"
#include "services/certmgr/path/RevocationScope.h"
#include "services/common/TimeText.h"

namespace {

constexpr std::int64_t kListCost = 5000;
constexpr std::int64_t kPointCost = 1000;
constexpr std::int64_t kCandidateCost = 500;

std::string reasonText(unsigned reason) {
  static constexpr std::array<std::string_view, 11> kNames = {
      "unspecified",   "keyCompromise",        "cACompromise",    "affiliationChanged",
      "superseded",    "cessationOfOperation", "certificateHold", "",
      "removeFromCRL", "privilegeWithdrawn",   "aACompromise"};
  if (reason < kNames.size() && !kNames.at(reason).empty()) return std::string(kNames.at(reason));
  return std::to_string(reason);
}

bool maySignLists(const ParsedCertificate& certificate) {
  return !certificate.keyUsage || (*certificate.keyUsage & ParsedCertificate::kCrlSign) != 0;
}

// One certificate of the path, and who issued it.
struct Subject {
  const ParsedCertificate& certificate;
  const ParsedCertificate& issuer;
  std::vector<CertificatePtr> above;  // the path from the issuer on
};

class RevocationSearch {
 public:
  RevocationSearch(const std::vector<CertificatePtr>& others, const TrustStore& store,
                   Moment& moment, Budget& budget, SignatureMemory& signatures)
      : others_(others), store_(store), moment_(moment), budget_(budget), signatures_(signatures) {}

  // The evidence, or nothing when nothing proves that it is revoked.
  std::optional<std::string> findProof(const Subject& subject) {
    const std::vector<RevocationListPtr> lists = listsAbout(subject.certificate);
    for (const RevocationListPtr& list : lists) {
      for (const RevocationEntry& entry : entriesOf(*list, subject.certificate)) {
        if (entry.reason == RevocationEntry::kRemoveFromList) continue;
        if (!isTrue(*list, subject)) break;
        const bool isHeld = entry.reason == RevocationEntry::kHold;
        if (isHeld && isTakenBack(*list, lists, subject)) continue;
        return evidence(*list, entry, subject.certificate);
      }
    }
    return std::nullopt;
  }

  // Whether there is anything to be proven; a cheap question.
  bool isListed(const ParsedCertificate& certificate) {
    const std::vector<RevocationListPtr> lists = listsAbout(certificate);
    return std::any_of(lists.begin(), lists.end(), [&](const RevocationListPtr& list) {
      return !entriesOf(*list, certificate).empty();
    });
  }

  // Whether the one certificate is signed with the other's key.
  bool isSignedBy(const ParsedCertificate& certificate, const ParsedCertificate& signer) {
    return verifies(certificate.signedBytes, certificate.fingerprint, *signer.key);
  }

 private:
  // Those that may speak about the certificate, in the order of their fingerprints.
  std::vector<RevocationListPtr> listsAbout(const ParsedCertificate& certificate) {
    std::map<std::string_view, RevocationListPtr> lists;
    std::int64_t cost = kListCost;  // of holding a list against all that the points name
    for (const DistributionPoint& point : certificate.distributionPoints) {
      cost += kPointCost * static_cast<std::int64_t>(1 + point.names.size() + point.issuers.size());
    }
    const auto add = [&](const DistinguishedName& issuer) {
      if (!budget_.spend(kCandidateCost)) return;
      for (const RevocationListPtr& list : store_.listsBy(issuer)) {
        if (!budget_.spend(cost)) return;
        if (isAbout(*list, certificate)) lists.emplace(list->fingerprint, list);
      }
    };
    add(certificate.issuer);
    for (const DistributionPoint& point : certificate.distributionPoints) {
      for (const DistinguishedName& issuer : point.issuers) add(issuer);
    }
    std::vector<RevocationListPtr> sorted;
    sorted.reserve(lists.size());
    for (const auto& [fingerprint, list] : lists) sorted.push_back(list);
    return sorted;
  }

  bool isTakenBack(const RevocationList& list, const std::vector<RevocationListPtr>& lists,
                   const Subject& subject) {
    return std::any_of(lists.begin(), lists.end(), [&](const RevocationListPtr& changes) {
      return continues(*changes, list) && removes(*changes, subject.certificate) &&
             isTrue(*changes, subject);
    });
  }

  static bool removes(const RevocationList& changes, const ParsedCertificate& certificate) {
    const std::vector<RevocationEntry> entries = entriesOf(changes, certificate);
    return std::any_of(entries.begin(), entries.end(), [](const RevocationEntry& entry) {
      return entry.reason == RevocationEntry::kRemoveFromList;
    });
  }

  bool isTrue(const RevocationList& list, const Subject& subject) {
    return isInForce(list) && isSigned(list, subject);
  }

  // A list without an end never ends, and would be true for ever: it proves nothing.
  bool isInForce(const RevocationList& list) {
    return list.thisUpdate && list.nextUpdate && moment_.hasReached(*list.thisUpdate) &&
           !moment_.hasReached(*list.nextUpdate + 1);
  }

  bool isSigned(const RevocationList& list, const Subject& subject) {
    // Who stands above the certificate is vouched for by the path itself.
    for (const CertificatePtr& signer : subject.above) {
      if (bearsName(*signer, list) && signs(*signer, list)) return true;
    }
    for (const Anchor& anchor : store_.anchorsNamed(list.issuer)) {
      const ParsedCertificate& signer = *anchor.certificate;
      if (anchor.use == Anchor::Use::refused || !bearsName(signer, list)) continue;
      if (isInTime(signer, moment_) && signs(signer, list)) return true;
    }
    return std::any_of(others_.begin(), others_.end(), [&](const CertificatePtr& other) {
      const ParsedCertificate& signer = *other;
      return bearsName(signer, list) && isInTime(signer, moment_) &&
             isVouchedFor(signer, subject) && signs(signer, list);
    });
  }

  bool bearsName(const ParsedCertificate& signer, const RevocationList& list) {
    return budget_.spend(kCandidateCost) && signer.subject == list.issuer && maySignLists(signer);
  }

  bool signs(const ParsedCertificate& signer, const RevocationList& list) {
    return verifies(list.signedBytes, list.fingerprint, *signer.key);
  }

  // By the issuer (another of its keys, or a signer of lists that it appointed), or by whoever
  // made that one (the next key of the same issuer).
  bool isVouchedFor(const ParsedCertificate& signer, const Subject& subject) {
    if (isSignedBy(signer, subject.issuer)) return true;
    return subject.above.size() > 1 && isSignedBy(signer, *subject.above[1]);
  }

  bool verifies(const SignedBytes& bytes, const std::string& fingerprint, const PublicKey& key) {
    if (!budget_.spend(checkCost(bytes, key))) return false;
    const SignatureState state = signatures_.check(bytes, fingerprint, key);
    // Who forges a list with a weak digest needs its issuer's help; to overlook one that is
    // genuine would be worse.
    return state == SignatureState::good || state == SignatureState::weak;
  }

  static std::string evidence(const RevocationList& list, const RevocationEntry& entry,
                              const ParsedCertificate& certificate) {
    std::string text =
        "serial " + hexOf(certificate.serial) + " on the list of " + list.issuer.text();
    if (entry.date) text += ", " + formatTime(*entry.date);
    if (entry.reason) text += ", reason " + reasonText(*entry.reason);
    return text;
  }

  const std::vector<CertificatePtr>& others_;
  const TrustStore& store_;
  Moment& moment_;
  Budget& budget_;
  SignatureMemory& signatures_;
};

// The issuer of the path's end is not on the path, but may be an anchor too.
std::optional<std::string> findProofForLast(const ParsedCertificate& last, const TrustStore& store,
                                            RevocationSearch& search) {
  if (!search.isListed(last)) return std::nullopt;
  for (const Anchor& anchor : store.anchorsNamed(last.issuer)) {
    if (!search.isSignedBy(last, *anchor.certificate)) continue;
    auto proof = search.findProof({last, *anchor.certificate, {anchor.certificate}});
    if (proof) return proof;
  }
  return std::nullopt;
}

}  // namespace

void checkRevocation(const std::vector<CertificatePtr>& path,
                     const std::vector<CertificatePtr>& others, const TrustStore& store,
                     Moment& moment, Budget& budget, SignatureMemory& signatures,
                     std::vector<Finding>& findings) {
  if (!store.hasLists()) return;
  RevocationSearch search(others, store, moment, budget, signatures);
  for (std::size_t member = 0; member < path.size(); ++member) {
    const ParsedCertificate& certificate = *path[member];
    std::optional<std::string> proof;
    if (member + 1 < path.size()) {
      const auto above = path.begin() + static_cast<std::ptrdiff_t>(member) + 1;
      proof = search.findProof({certificate, **above, {above, path.end()}});
    } else {
      proof = findProofForLast(certificate, store, search);
    }
    if (proof) findings.push_back({Reason::revoked, member, std::move(*proof)});
    // Who made the search too long must not hide a revocation by that.
    if (budget.isSpent()) {
      findings.push_back({Reason::gaveUp, member, "the revocation lists are too many"});
      return;
    }
  }
}
