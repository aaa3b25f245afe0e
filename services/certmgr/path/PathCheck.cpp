#include "services/certmgr/path/PathCheck.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/Digest.h"
#include "services/common/TimeText.h"

namespace {

using namespace std::string_view_literals;

constexpr auto kServerAuthentication = "\x2b\x06\x01\x05\x05\x07\x03\x01"sv;
constexpr auto kAnyPurpose = "\x55\x1d\x25\x00"sv;

class MemberCheck {
 public:
  MemberCheck(const std::vector<CertificatePtr>& path, const Anchor* anchor, Moment& moment,
              std::vector<Finding>& findings)
      : path_(path), anchor_(anchor), moment_(moment), findings_(findings) {}

  void run() {
    for (std::size_t member = 0; member < path_.size(); ++member) {
      checkContent(member);
      checkTime(member);
      checkKey(member);
      checkPurpose(member);
      if (member > 0) checkIssuer(member);
    }
    checkLeafUsage();
    if (anchor_ != nullptr && anchor_->use == Anchor::Use::refused) {
      add(Reason::anchorRefuses, path_.size() - 1, "its file refuses server authentication");
    }
  }

 private:
  void add(Reason reason, std::size_t member, std::string evidence) {
    findings_.push_back({reason, member, std::move(evidence)});
  }

  bool isAnchor(std::size_t member) const {
    return anchor_ != nullptr && member + 1 == path_.size();
  }

  void checkContent(std::size_t member) {
    const ParsedCertificate& certificate = *path_[member];
    for (const std::string& oid : certificate.unknownCritical) {
      add(Reason::unknownCriticalExtension, member, oid);
    }
    for (const std::string& what : certificate.unreadable) {
      add(Reason::extensionUnreadable, member, what);
    }
  }

  void checkTime(std::size_t member) {
    const ParsedCertificate& certificate = *path_[member];
    if (!certificate.notBefore || !certificate.notAfter) {
      add(Reason::timeUnreadable, member,
          certificate.notBefore ? "the end of its time" : "the beginning of its time");
      return;
    }
    if (moment_.hasReached(*certificate.notAfter + 1)) {
      add(Reason::expired, member, "not after " + formatTime(*certificate.notAfter));
    }
    if (!moment_.hasReached(*certificate.notBefore)) {
      add(Reason::notYetValid, member, "not before " + formatTime(*certificate.notBefore));
    }
  }

  void checkKey(std::size_t member) {
    const PublicKey& key = *path_[member]->key;
    if (key.isStrong()) return;
    const bool isKnown = key.kind() != PublicKey::Kind::other;
    add(isKnown ? Reason::keyWeak : Reason::keyUnreadable, member, key.text());
  }

  void checkPurpose(std::size_t member) {
    const auto& uses = path_[member]->extendedKeyUsage;
    const bool isSaidOtherwise = isAnchor(member) && anchor_->use == Anchor::Use::server;
    if (!uses || isSaidOtherwise) return;
    const bool serves = std::any_of(uses->begin(), uses->end(), [](std::string_view use) {
      return use == kServerAuthentication || use == kAnyPurpose;
    });
    if (serves) return;
    constexpr std::size_t kMostShown = 8;
    std::string evidence = "for ";
    for (const std::string_view& use : *uses) {
      if (&use != &uses->front()) evidence += ", ";
      if (&use == &uses->front() + kMostShown) {
        evidence += "...";
        break;
      }
      evidence += oidText(use);
    }
    add(Reason::otherPurpose, member, std::move(evidence));
  }

  void checkLeafUsage() {
    constexpr unsigned kServes = ParsedCertificate::kDigitalSignature |
                                 ParsedCertificate::kKeyEncipherment |
                                 ParsedCertificate::kKeyAgreement;
    const std::optional<unsigned> usage = path_.front()->keyUsage;
    const bool isSaidOtherwise = isAnchor(0) && anchor_->use == Anchor::Use::server;
    if (!usage || (*usage & kServes) != 0 || isSaidOtherwise) return;
    add(Reason::mayNotServeTls, 0,
        "neither digital signature nor key encipherment nor key agreement");
  }

  void checkIssuer(std::size_t member) {
    const ParsedCertificate& issuer = *path_[member];
    const bool anchored = isAnchor(member);
    if (!issuer.hasBasicConstraints) {
      // An anchor of version 1 had no way to say it, and one with a key usage says enough.
      const bool isExcused = anchored && (issuer.version < 3 || issuer.keyUsage);
      if (!isExcused) add(Reason::basicConstraintsMissing, member, issuer.subject.text());
    } else if (!issuer.isCa) {
      add(Reason::notCa, member, issuer.subject.text());
    } else if (!issuer.basicConstraintsCritical && !anchored) {
      add(Reason::basicConstraintsNotCritical, member, issuer.subject.text());
    }
    if (!issuer.keyUsage) {
      // Before version 3 there was none, and the missing basic constraints tell already.
      if (!anchored && issuer.version >= 3) {
        add(Reason::keyUsageMissing, member, issuer.subject.text());
      }
    } else if ((*issuer.keyUsage & ParsedCertificate::kKeyCertSign) == 0) {
      add(Reason::mayNotSignCertificates, member, issuer.subject.text());
    }
    checkPathLength(member);
  }

  // Self-issued certificates, as in a change of keys, do not count.
  void checkPathLength(std::size_t member) {
    const std::optional<unsigned> allowed = path_[member]->pathLength;
    if (!allowed) return;
    const auto below = std::count_if(
        path_.begin() + 1, path_.begin() + static_cast<std::ptrdiff_t>(member),
        [](const CertificatePtr& certificate) { return !certificate->isSelfIssued(); });
    if (static_cast<std::size_t>(below) <= *allowed) return;
    add(Reason::pathTooLong, member,
        std::to_string(below) + " below it, " + std::to_string(*allowed) + " allowed");
  }

  const std::vector<CertificatePtr>& path_;
  const Anchor* anchor_;
  Moment& moment_;
  std::vector<Finding>& findings_;
};

}  // namespace

void checkMembers(const std::vector<CertificatePtr>& path, const Anchor* anchor, Moment& moment,
                  std::vector<Finding>& findings) {
  MemberCheck(path, anchor, moment, findings).run();
}

bool isInTime(const ParsedCertificate& certificate, Moment& moment) {
  return certificate.notBefore && certificate.notAfter &&
         moment.hasReached(*certificate.notBefore) && !moment.hasReached(*certificate.notAfter + 1);
}

bool namesOtherKey(const ParsedCertificate& certificate, const ParsedCertificate& issuer) {
  if (!certificate.authorityKey) return false;
  const AuthorityKey& named = *certificate.authorityKey;
  if (named.identifier && issuer.subjectKeyId && *named.identifier != *issuer.subjectKeyId) {
    return true;
  }
  if (!named.serial.empty() && named.serial != issuer.serial) return true;
  return !named.issuers.empty() && std::find(named.issuers.begin(), named.issuers.end(),
                                             issuer.issuer) == named.issuers.end();
}
