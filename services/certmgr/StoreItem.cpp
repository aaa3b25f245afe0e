#include "services/certmgr/StoreItem.h"

#include <cstdio>
#include <exception>
#include <optional>
#include <utility>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/Digest.h"
#include "services/common/CertificateFiles.h"
#include "services/common/CertificateView.h"
#include "services/common/PrintableText.h"
#include "services/common/TimeText.h"

namespace {

constexpr std::size_t kNameWidth = 200;

std::string hashOf(const X509_NAME* name) {
#if OPENSSL_VERSION_NUMBER >= 0x30000000L
  const unsigned long hash = X509_NAME_hash_ex(name, nullptr, nullptr, nullptr);
#else
  const unsigned long hash = X509_NAME_hash(const_cast<X509_NAME*>(name));
#endif
  char text[2 * sizeof hash + 1];
  (void)snprintf(text, sizeof text, "%08lx", hash);
  return text;
}

std::string ownerOf(const X509_NAME* name) {
  const std::string text = viewName(name);
  return text.empty() ? "(no name)" : fitLines(text, kNameWidth, 1).front();
}

std::string purposesOf(const STACK_OF(ASN1_OBJECT) * purposes) {
  std::string text;
  for (int i = 0; i < sk_ASN1_OBJECT_num(purposes); ++i) {
    char name[80];
    OBJ_obj2txt(name, sizeof name, sk_ASN1_OBJECT_value(purposes, i), 0);
    text.append(text.empty() ? "" : ", ").append(printableText(name));
  }
  return text;
}

std::string trustOf(X509* certificate) {
  std::string text;
  if (const auto* trusted = X509_get0_trust_objects(certificate)) {
    text += "trusted for " + purposesOf(trusted);
  }
  if (const auto* refused = X509_get0_reject_objects(certificate)) {
    text.append(text.empty() ? "" : "; ").append("refused for " + purposesOf(refused));
  }
  return text;
}

std::string derOfList(X509_CRL* list) {
  const int length = i2d_X509_CRL(list, nullptr);
  if (length <= 0) return "";
  std::string der(static_cast<std::size_t>(length), '\0');
  auto* out = reinterpret_cast<unsigned char*>(der.data());
  i2d_X509_CRL(list, &out);
  return der;
}

StoreItem itemOf(X509* certificate) {
  StoreItem item;
  item.owner = ownerOf(X509_get_subject_name(certificate));
  item.nameHash = hashOf(X509_get_subject_name(certificate));
  item.trust = trustOf(certificate);
  std::string der = derOf(certificate);
  item.fingerprint = sha256Of(der);
  try {
    item.certificate = ParsedCertificate::parse(std::move(der));
  } catch (const DerError& wrong) {
    item.unusable = printableText(wrong.what());
  }
  return item;
}

StoreItem itemOf(X509CrlPtr list) {
  StoreItem item;
  item.kind = StoreItem::Kind::list;
  item.owner = ownerOf(X509_CRL_get_issuer(list.get()));
  item.nameHash = hashOf(X509_CRL_get_issuer(list.get()));
  item.fingerprint = sha256Of(derOfList(list.get()));
  item.list = std::move(list);
  return item;
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

// Whether one of the issuers' keys made the signature.
bool isSignedByOneOf(X509_CRL* list, const std::vector<CertificatePtr>& issuers) {
  for (const CertificatePtr& issuer : issuers) {
    EVP_PKEY* key = issuer->key->get();
    if (key != nullptr && X509_CRL_verify(list, key) == 1) return true;
    ERR_clear_error();
  }
  return false;
}

bool hasWeakSignature(const X509_CRL* list) {
  int digest = NID_undef;
  OBJ_find_sigid_algs(X509_CRL_get_signature_nid(list), &digest, nullptr);
  return digest == NID_sha1 || digest == NID_md5 || digest == NID_md5_sha1;
}

void checkTimes(const X509_CRL* list, std::int64_t now, StoreFile& file) {
  const auto thisUpdate = viewTime(X509_CRL_get0_lastUpdate(list));
  const ASN1_TIME* next = X509_CRL_get0_nextUpdate(list);
  const auto nextUpdate = viewTime(next);
  if (!thisUpdate || (next != nullptr && !nextUpdate)) {
    file.problems.emplace_back("its time cannot be read: fetch the list anew");
    return;
  }
  if (now < *thisUpdate) {
    file.problems.push_back("it is not in force before " + formatTime(*thisUpdate) +
                            ": check this machine's clock, or wait");
  }
  if (next == nullptr) {
    file.problems.emplace_back(
        "it does not say when the next one is due, so it may be stale: fetch one that does");
  } else if (now > *nextUpdate) {
    file.problems.push_back("it is stale since " + formatTime(*nextUpdate) +
                            " and proves nothing: fetch a new one");
  }
}

void checkIssuer(const StoreItem& item, const std::vector<CertificatePtr>& certificates,
                 StoreFile& file) {
  std::vector<CertificatePtr> issuers;
  unsigned char* der = nullptr;
  // OpenSSL 1.1.1 takes the name without const here, and changes nothing.
  const int length =
      i2d_X509_NAME(const_cast<X509_NAME*>(X509_CRL_get_issuer(item.list.get())), &der);
  const std::string bytes(reinterpret_cast<const char*>(der),
                          static_cast<std::size_t>(length < 0 ? 0 : length));
  OPENSSL_free(der);
  const DistinguishedName issuer(bytes);
  for (const CertificatePtr& certificate : certificates) {
    if (certificate->subject == issuer) issuers.push_back(certificate);
  }
  if (issuers.empty()) {
    file.problems.emplace_back(
        "no certificate of this store is its issuer, so it counts only for chains that bring the "
        "issuer along: remove it, unless that is meant");
  } else if (!isSignedByOneOf(item.list.get(), issuers)) {
    file.problems.emplace_back(
        "its signature is not by its issuer in this store, so it proves nothing: fetch it anew");
  }
}

}  // namespace

std::string StoreItem::title() const {
  return (kind == Kind::list ? "revocation list of " : "certificate ") + owner;
}

std::vector<StoreItem> itemsOf(PemContent content) {
  std::vector<StoreItem> items;
  for (const X509Ptr& certificate : content.certificates)
    items.push_back(itemOf(certificate.get()));
  for (X509CrlPtr& list : content.revocationLists) items.push_back(itemOf(std::move(list)));
  return items;
}

void reportCertificate(const StoreItem& item, std::int64_t now, StoreFile& file) {
  file.content.push_back(item.title());
  file.content.push_back("  SHA-256 " + hexOf(item.fingerprint));
  if (!item.trust.empty()) file.content.push_back("  " + item.trust);
  if (item.certificate == nullptr) {
    file.problems.push_back("its certificate cannot be used (" + item.unusable + "): replace it");
    return;
  }
  const ParsedCertificate& certificate = *item.certificate;
  file.content.push_back("  valid from " + timeText(certificate.notBefore) + " to " +
                         timeText(certificate.notAfter));
  file.content.push_back("  key " + certificate.key->text());
  checkValidity(certificate, now, file);
  checkAuthority(certificate, file);
  checkKey(certificate, file);
  checkOwnSignature(certificate, file);
  for (const std::string& part : certificate.unreadable) {
    file.problems.push_back("a part of it cannot be read (" + printableText(part) +
                            "): replace it");
  }
}

void reportList(const StoreItem& item, const std::vector<CertificatePtr>& issuers, std::int64_t now,
                StoreFile& file) {
  X509_CRL* list = item.list.get();
  const auto* entries = X509_CRL_get_REVOKED(list);
  const int count = entries == nullptr ? 0 : sk_X509_REVOKED_num(entries);
  const ASN1_TIME* next = X509_CRL_get0_nextUpdate(list);
  file.content.push_back(item.title());
  file.content.push_back("  in force from " + timeText(viewTime(X509_CRL_get0_lastUpdate(list))) +
                         (next == nullptr ? "" : " to " + timeText(viewTime(next))));
  file.content.push_back("  " + std::to_string(count) + (count == 1 ? " entry" : " entries"));
  checkTimes(list, now, file);
  checkIssuer(item, issuers, file);
  if (hasWeakSignature(list)) {
    file.problems.emplace_back(
        "its signature uses a digest that is no longer safe, so it proves nothing: have its "
        "issuer use SHA-256");
  }
}
