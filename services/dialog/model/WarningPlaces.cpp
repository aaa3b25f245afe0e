#include "services/dialog/model/WarningPlaces.h"

#include <algorithm>
#include <utility>

#include <openssl/err.h>
#include <openssl/x509v3.h>

#include "services/common/TimeText.h"
#include "services/dialog/model/DialogLines.h"
#include "services/dialog/model/DomainMatch.h"

namespace {

using Warning = CertificateWarnings;
using Chain = std::vector<ChainMember>;
using NameConstraintsPtr = OpenSslOwner<NAME_CONSTRAINTS, NAME_CONSTRAINTS_free>;

// What the evaluation demands of keys and signatures: RSA of 2048 bits, SHA-256.
constexpr int kSecurityBits = 112;

// Everything that the search looks at.
struct Scene {
  const Chain& chain;
  const std::optional<std::string>& domain;
  std::int64_t now;
};

X509* at(const Scene& scene, std::size_t index) {
  return scene.chain[index].certificate.get();
}

bool isLast(const Scene& scene, std::size_t index) {
  return index + 1 == scene.chain.size();
}

int extensionIndex(const X509* certificate, int nid) {
  return X509_get_ext_by_NID(certificate, nid, -1);
}

bool isAuthority(X509* certificate) {
  return (X509_get_extension_flags(certificate) & EXFLAG_CA) != 0;
}

// Each of these says in words why the certificate at `index` bears the warning; empty: it does
// not, as far as the chain shows.

std::string whyNotCritical(const Scene& scene, std::size_t index) {
  const int found = extensionIndex(at(scene, index), NID_basic_constraints);
  const bool weak = index > 0 && found >= 0 && isAuthority(at(scene, index)) &&
                    X509_EXTENSION_get_critical(X509_get_ext(at(scene, index), found)) == 0;
  return weak ? "its basic constraints are not marked critical" : "";
}

bool isSelfIssued(const X509* certificate) {
  return X509_NAME_cmp(X509_get_subject_name(certificate), X509_get_issuer_name(certificate)) == 0;
}

std::string whyTooLong(const Scene& scene, std::size_t index) {
  const long allowed = X509_get_pathlen(at(scene, index));
  if (index == 0 || allowed < 0) return "";
  long below = 0;
  for (std::size_t i = 1; i < index; ++i) below += isSelfIssued(at(scene, i)) ? 0 : 1;
  if (below <= allowed) return "";
  return "it allows " + std::to_string(allowed) + " authorities below it, and there are " +
         std::to_string(below);
}

std::string whyUnknownExtension(const Scene& scene, std::size_t index) {
  return (X509_get_extension_flags(at(scene, index)) & EXFLAG_CRITICAL) != 0
             ? "it has a critical extension that is unknown here"
             : "";
}

std::string whyOutside(const Scene& scene, std::size_t index) {
  return whyNotValid(scene.chain[index].view, scene.now);
}

std::string whyNoKeyUsage(const Scene& scene, std::size_t index) {
  constexpr long kVersion3 = 2;  // before that there was no way to say it
  const bool missing = index > 0 && X509_get_version(at(scene, index)) >= kVersion3 &&
                       extensionIndex(at(scene, index), NID_key_usage) < 0;
  return missing ? "it has no key usage" : "";
}

std::string whyWrongUse(const Scene& scene, std::size_t index) {
  X509* certificate = at(scene, index);
  if (index == 0) {
    return X509_check_purpose(certificate, X509_PURPOSE_SSL_SERVER, 0) != 1
               ? "its key usage does not allow it to serve"
               : "";
  }
  // Both give all bits where the extension is missing.
  if ((X509_get_key_usage(certificate) & KU_KEY_CERT_SIGN) == 0) {
    return "its key usage does not allow it to issue certificates";
  }
  if ((X509_get_extended_key_usage(certificate) & (XKU_SSL_SERVER | XKU_SGC)) == 0) {
    return "its extended key usage leaves servers out";
  }
  return "";
}

std::string whyNoConstraints(const Scene& scene, std::size_t index) {
  const bool missing = index > 0 && extensionIndex(at(scene, index), NID_basic_constraints) < 0;
  return missing ? "it has no basic constraints" : "";
}

std::string whyNoAuthority(const Scene& scene, std::size_t index) {
  const bool denied = index > 0 && extensionIndex(at(scene, index), NID_basic_constraints) >= 0 &&
                      !isAuthority(at(scene, index));
  return denied ? "it says that it is no authority" : "";
}

std::string whyUntrusted(const Scene& scene, std::size_t index) {
  if ((X509_get_extension_flags(at(scene, index)) & EXFLAG_INVALID) != 0) {
    return "it has extensions that cannot be read";
  }
  if (!isLast(scene, index)) return "";
  return scene.chain[index].view.selfSigned ? "the chain ends here; it is signed by itself"
                                            : "the chain ends here; its issuer is missing";
}

bool namesFit(const Scene& scene, std::size_t index) {
  return X509_NAME_cmp(X509_get_issuer_name(at(scene, index)),
                       X509_get_subject_name(at(scene, index + 1))) == 0;
}

bool isWeaklySigned(X509* certificate) {
  int bits = 0;
  const bool known = X509_get_signature_info(certificate, nullptr, nullptr, &bits, nullptr) == 1;
  ERR_clear_error();
  return known && bits < kSecurityBits;
}

bool isWeakKey(const X509* certificate) {
  const EVP_PKEY* key = X509_get0_pubkey(certificate);
  ERR_clear_error();
  return key != nullptr && EVP_PKEY_security_bits(key) < kSecurityBits;
}

std::string whyBadSignature(const Scene& scene, std::size_t index) {
  // Where the names do not fit either, the next one is not its issuer at all.
  if (!isLast(scene, index) && namesFit(scene, index) &&
      !isSignedBy(at(scene, index), at(scene, index + 1))) {
    return "it is not signed by the key of " + certificateNumber(index + 1);
  }
  if (!isLast(scene, index) && isWeaklySigned(at(scene, index))) {
    return "its signature is of a kind too weak to prove anything";
  }
  return isWeakKey(at(scene, index)) ? "its key is too weak" : "";
}

// Comparing every name with every limit must not delay the dialog; nobody needs that many.
constexpr std::size_t kMaxComparisons = 1U << 14U;

bool isTooMuchToCompare(const CertificateNames& names, const NAME_CONSTRAINTS* limits) {
  // Either list may be missing, which counts as -1.
  const int permitted = std::max(sk_GENERAL_SUBTREE_num(limits->permittedSubtrees), 0);
  const int excluded = std::max(sk_GENERAL_SUBTREE_num(limits->excludedSubtrees), 0);
  return (names.names.size() + names.otherNames) * static_cast<std::size_t>(permitted + excluded) >
         kMaxComparisons;
}

std::string whyOutsideTerritory(const Scene& scene, std::size_t index) {
  if (index > 0 && isSelfIssued(at(scene, index))) return "";  // limits pass these over
  for (std::size_t above = index + 1; above < scene.chain.size(); ++above) {
    const NameConstraintsPtr limits(static_cast<NAME_CONSTRAINTS*>(
        X509_get_ext_d2i(at(scene, above), NID_name_constraints, nullptr, nullptr)));
    if (limits == nullptr || isTooMuchToCompare(scene.chain[index].view.names, limits.get())) {
      continue;
    }
    int result = NAME_CONSTRAINTS_check(at(scene, index), limits.get());
    if (result == X509_V_OK && index == 0) {
      result = NAME_CONSTRAINTS_check_CN(at(scene, index), limits.get());
    }
    ERR_clear_error();
    if (result == X509_V_ERR_PERMITTED_VIOLATION || result == X509_V_ERR_EXCLUDED_VIOLATION) {
      return "it bears a name that " + certificateNumber(above) + " may not issue for";
    }
  }
  return "";
}

std::string whyWrongIssuer(const Scene& scene, std::size_t index) {
  if (isLast(scene, index)) return "";
  if (!namesFit(scene, index)) {
    return "the issuer it names is not the owner of " + certificateNumber(index + 1);
  }
  const int result = X509_check_issued(at(scene, index + 1), at(scene, index));
  ERR_clear_error();
  const bool otherKey =
      result == X509_V_ERR_AKID_SKID_MISMATCH || result == X509_V_ERR_AKID_ISSUER_SERIAL_MISMATCH;
  return otherKey ? "it was issued with another key than that of " + certificateNumber(index + 1)
                  : "";
}

std::string whyOtherDomain(const Scene& scene, std::size_t index) {
  const bool mismatch =
      index == 0 && scene.domain && !coversDomain(scene.chain[0].view.names, *scene.domain);
  return mismatch ? "none of its names is that domain" : "";
}

struct Search {
  Warning::Flag warning;
  std::string (*why)(const Scene& scene, std::size_t index);
};

// In bit order. Only a list can tell who is revoked, and none was sent.
constexpr Search kSearches[] = {
    {Warning::BC_NOT_CRITICAL, whyNotCritical},
    {Warning::BC_PATH_LENGTH, whyTooLong},
    {Warning::UNKNOWN_CRITICAL_EXT, whyUnknownExtension},
    {Warning::CERT_EXPIRY, whyOutside},
    {Warning::KU_MISSING, whyNoKeyUsage},
    {Warning::KU_INVALID, whyWrongUse},
    {Warning::BC_MISSING, whyNoConstraints},
    {Warning::BC_NOT_CA, whyNoAuthority},
    {Warning::NO_TRUSTED, whyUntrusted},
    {Warning::INVALID_SIGNATURE, whyBadSignature},
    {Warning::NAME_CONSTRAINTS, whyOutsideTerritory},
    {Warning::INVALID_ISSUER, whyWrongIssuer},
    {Warning::DOMAINNAME_MISMATCH, whyOtherDomain},
};

// The form of an anchor is its owner's affair and is never what such a warning is about, as
// long as another certificate shows the same.
constexpr unsigned long long kNotAskedOfAnchors =
    Warning::BC_NOT_CRITICAL | Warning::KU_MISSING | Warning::BC_MISSING;

}  // namespace

std::string whyNotValid(const CertificateView& view, std::int64_t now) {
  if (!view.notBefore || !view.notAfter) return "its validity cannot be read";
  if (now > *view.notAfter) return "it expired " + formatSpan(now - *view.notAfter) + " ago";
  if (now < *view.notBefore) {
    return "it is not valid yet, only in " + formatSpan(*view.notBefore - now);
  }
  return "";
}

std::vector<WarningPlace> findWarningPlaces(const Chain& chain,
                                            const std::optional<std::string>& domain,
                                            unsigned long long warnings, std::int64_t now) {
  const Scene scene{chain, domain, now};
  const bool anchored =
      (warnings & Warning::NO_TRUSTED) == 0 && !chain.empty() && chain.back().view.selfSigned;
  std::vector<WarningPlace> places;
  for (const Search& search : kSearches) {
    if ((warnings & search.warning) == 0) continue;
    const std::size_t before = places.size();
    for (std::size_t index = 0; index < chain.size(); ++index) {
      std::string reason = search.why(scene, index);
      const bool spared = anchored && isLast(scene, index) && places.size() > before &&
                          (search.warning & kNotAskedOfAnchors) != 0;
      if (!reason.empty() && !spared) {
        places.push_back({search.warning, index, std::move(reason)});
      }
    }
  }
  return places;
}
