#include "services/certmgr/stores/StoreItem.h"

#include <cstdio>
#include <optional>
#include <utility>

#include <openssl/opensslv.h>
#include <openssl/x509.h>

#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/Digest.h"
#include "services/common/OpenSslOwners.h"
#include "services/common/PrintableText.h"
#include "services/common/TimeText.h"

namespace {

constexpr std::size_t kNameWidth = 200;

const char* textOf(Anchor::Use use) {
  switch (use) {
    case Anchor::Use::server:
      return "its trust settings say that it may vouch for servers";
    case Anchor::Use::refused:
      return "its trust settings refuse it for servers";
    case Anchor::Use::unrestricted:
      break;
  }
  return "";
}

std::string timeText(const std::optional<std::int64_t>& time) {
  return time ? formatTime(*time) : "(unreadable)";
}

void checkValidity(const ParsedCertificate& certificate, std::int64_t now, StoreFile& file) {
  if (!certificate.notBefore || !certificate.notAfter) {
    file.problems.emplace_back("its time of validity cannot be read: replace it");
    return;
  }
  if (now > *certificate.notAfter) {
    file.problems.push_back("it expired at " + formatTime(*certificate.notAfter) +
                            ": replace it, or remove it");
  }
  if (now < *certificate.notBefore) {
    file.problems.push_back("it is not valid before " + formatTime(*certificate.notBefore) +
                            ": check this machine's clock, or wait");
  }
}

void checkAuthority(const ParsedCertificate& certificate, StoreFile& file) {
  std::string why;
  if (!certificate.hasBasicConstraints) {
    why = "it has no basic constraints";
  } else if (!certificate.isCa) {
    why = "its basic constraints say CA:FALSE";
  } else if (certificate.keyUsage &&
             (*certificate.keyUsage & ParsedCertificate::kKeyCertSign) == 0) {
    why = "its key usage does not allow it to sign certificates";
  } else {
    return;
  }
  file.problems.push_back("it is no certificate authority (" + why +
                          "), so it is trusted for itself alone: replace it by its issuer's "
                          "certificate, unless that is meant");
}

void checkKey(const ParsedCertificate& certificate, StoreFile& file) {
  if (certificate.key->kind() == PublicKey::Kind::other) {
    file.problems.emplace_back("its key is of no known kind, or damaged: replace it");
  } else if (!certificate.key->isStrong()) {
    file.problems.push_back("its key (" + certificate.key->text() +
                            ") is no longer safe: replace it");
  }
}

// A self-issued certificate may also be one that an older key of the same name vouches for.
bool claimsToBeSelfSigned(const ParsedCertificate& certificate) {
  if (!certificate.isSelfIssued()) return false;
  if (!certificate.authorityKey || !certificate.authorityKey->identifier) return true;
  return certificate.authorityKey->identifier == certificate.subjectKeyId;
}

void checkOwnSignature(const ParsedCertificate& certificate, StoreFile& file) {
  if (!claimsToBeSelfSigned(certificate)) {
    file.notes.emplace_back("it is trusted for itself, whoever issued it: every one here is");
    return;
  }
  switch (checkSignature(certificate.signedBytes, *certificate.key)) {
    case SignatureState::wrong:
    case SignatureState::inconsistent:
      file.problems.emplace_back("its signature is not by its own key: get the file anew");
      break;
    case SignatureState::weak:
      file.notes.push_back("its signature (" + algorithmText(certificate.signedBytes.algorithm) +
                           ") is no longer safe, which does not matter in a trusted certificate");
      break;
    case SignatureState::unsupported:
    case SignatureState::good:
      break;
  }
}

void checkTimes(const RevocationList& list, std::int64_t now, StoreFile& file) {
  if (!list.thisUpdate) {
    file.problems.emplace_back("its time cannot be read: fetch the list anew");
    return;
  }
  if (now < *list.thisUpdate) {
    file.problems.push_back("it is not in force before " + formatTime(*list.thisUpdate) +
                            ": check this machine's clock, or wait");
  }
  if (!list.nextUpdate) {
    file.problems.emplace_back(
        "it does not say when the next one is due, so it may be stale: fetch one that does");
  } else if (now > *list.nextUpdate) {
    file.problems.push_back("it is stale since " + formatTime(*list.nextUpdate) +
                            " and proves nothing: fetch a new one");
  }
}

// What the best of the issuers' keys makes of the signature; nothing without an issuer.
std::optional<SignatureState> signatureOf(const RevocationList& list,
                                          const std::vector<CertificatePtr>& certificates) {
  std::optional<SignatureState> best;
  for (const CertificatePtr& certificate : certificates) {
    if (!(certificate->subject == list.issuer)) continue;
    const SignatureState state = checkSignature(list.signedBytes, *certificate->key);
    if (!best || state == SignatureState::good || *best == SignatureState::wrong) best = state;
    if (best == SignatureState::good) break;
  }
  return best;
}

void checkSigner(const RevocationList& list, const std::vector<CertificatePtr>& certificates,
                 StoreFile& file) {
  const std::optional<SignatureState> state = signatureOf(list, certificates);
  if (!state) {
    file.problems.emplace_back(
        "no certificate of this store is its issuer, so it counts only for chains that bring the "
        "issuer along: remove it, unless that is meant");
  } else if (state == SignatureState::weak) {
    file.problems.push_back("its signature (" + algorithmText(list.signedBytes.algorithm) +
                            ") is no longer safe, so it proves nothing: have its issuer use "
                            "SHA-256");
  } else if (state != SignatureState::good) {
    file.problems.emplace_back(
        "its signature is not by its issuer in this store, so it proves nothing: fetch it anew");
  }
}

}  // namespace

std::string StoreItem::title() const {
  return (isList() ? "revocation list of " : "certificate ") + owner();
}

std::string StoreItem::owner() const {
  const std::string text = isList() ? list->issuer.text() : certificate->subject.text();
  return text.empty() ? "(no name)" : fitLines(text, kNameWidth, 1).front();
}

std::string StoreItem::nameHash() const {
  const std::string& der = isList() ? list->issuer.der() : certificate->subject.der();
  const auto* at = reinterpret_cast<const unsigned char*>(der.data());
  const OpenSslOwner<X509_NAME, X509_NAME_free> name(
      d2i_X509_NAME(nullptr, &at, static_cast<long>(der.size())));
  if (name == nullptr) return "(none)";
#if OPENSSL_VERSION_NUMBER >= 0x30000000L
  const unsigned long hash = X509_NAME_hash_ex(name.get(), nullptr, nullptr, nullptr);
#else
  const unsigned long hash = X509_NAME_hash(name.get());
#endif
  char text[2 * sizeof hash + 1];
  (void)snprintf(text, sizeof text, "%08lx", hash);
  return text;
}

std::string StoreItem::fingerprint() const {
  if (list != nullptr) return list->fingerprint;
  return certificate->fingerprint;
}

std::vector<StoreItem> itemsOf(PemContent content) {
  std::vector<StoreItem> items;
  for (Anchor& anchor : content.anchors) {
    items.push_back({std::move(anchor.certificate), nullptr, anchor.use});
  }
  for (RevocationListPtr& list : content.revocationLists) {
    items.push_back({nullptr, std::move(list)});
  }
  return items;
}

void reportCertificate(const StoreItem& item, std::int64_t now, StoreFile& file) {
  const ParsedCertificate& certificate = *item.certificate;
  file.content.push_back(item.title());
  file.content.push_back("  SHA-256 " + hexOf(certificate.fingerprint));
  file.content.push_back("  valid from " + timeText(certificate.notBefore) + " to " +
                         timeText(certificate.notAfter));
  file.content.push_back("  key " + certificate.key->text());
  if (item.use != Anchor::Use::unrestricted) file.notes.emplace_back(textOf(item.use));
  checkValidity(certificate, now, file);
  checkAuthority(certificate, file);
  checkKey(certificate, file);
  checkOwnSignature(certificate, file);
  for (const std::string& oid : certificate.unknownCritical) {
    file.problems.push_back("its critical extension " + oid +
                            " is not understood, so no chain below it is valid: replace it");
  }
  for (const std::string& part : certificate.unreadable) {
    file.problems.push_back("a part of it cannot be read (" + printableText(part) +
                            "): replace it");
  }
}

void reportList(const StoreItem& item, const std::vector<CertificatePtr>& certificates,
                std::int64_t now, StoreFile& file) {
  const RevocationList& list = *item.list;
  const std::size_t count = list.entryCount();
  file.content.push_back(item.title());
  file.content.push_back("  in force from " + timeText(list.thisUpdate) +
                         (list.nextUpdate ? " to " + formatTime(*list.nextUpdate) : ""));
  file.content.push_back("  " + std::to_string(count) + (count == 1 ? " entry" : " entries"));
  checkTimes(list, now, file);
  checkSigner(list, certificates, file);
  for (const std::string& part : list.notUnderstood) {
    file.problems.push_back("it proves nothing, since not all of it is understood (" +
                            printableText(part) + "): fetch one without that");
  }
}
