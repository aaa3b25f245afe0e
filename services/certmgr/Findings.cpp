#include "services/certmgr/Findings.h"

#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

namespace {

struct Mapping {
  int error;
  Warnings warning;
};

// The whole mapping but for the two errors that depend on the certificate
// (INVALID_CA, INVALID_PURPOSE). Errors that are not here are NO_TRUSTED.
constexpr Mapping kMappings[] = {
    // No road to an anchor.
    {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT, Warning::NO_TRUSTED},
    {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY, Warning::NO_TRUSTED},
    {X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE, Warning::NO_TRUSTED},
    {X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT, Warning::NO_TRUSTED},
    {X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN, Warning::NO_TRUSTED},
    {X509_V_ERR_CERT_UNTRUSTED, Warning::NO_TRUSTED},
    {X509_V_ERR_CERT_REJECTED, Warning::NO_TRUSTED},
    {X509_V_ERR_CERT_CHAIN_TOO_LONG, Warning::NO_TRUSTED},
    // Issuer and subject do not belong together.
    {X509_V_ERR_SUBJECT_ISSUER_MISMATCH, Warning::INVALID_ISSUER},
    {X509_V_ERR_AKID_SKID_MISMATCH, Warning::INVALID_ISSUER},
    {X509_V_ERR_AKID_ISSUER_SERIAL_MISMATCH, Warning::INVALID_ISSUER},
    // Time, a field that is no time included.
    {X509_V_ERR_CERT_NOT_YET_VALID, Warning::CERT_EXPIRY},
    {X509_V_ERR_CERT_HAS_EXPIRED, Warning::CERT_EXPIRY},
    {X509_V_ERR_ERROR_IN_CERT_NOT_BEFORE_FIELD, Warning::CERT_EXPIRY},
    {X509_V_ERR_ERROR_IN_CERT_NOT_AFTER_FIELD, Warning::CERT_EXPIRY},
    // Signatures: wrong, impossible to check, or too weak to mean anything.
    {X509_V_ERR_CERT_SIGNATURE_FAILURE, Warning::INVALID_SIGNATURE},
    {X509_V_ERR_UNABLE_TO_DECRYPT_CERT_SIGNATURE, Warning::INVALID_SIGNATURE},
    {X509_V_ERR_UNABLE_TO_DECODE_ISSUER_PUBLIC_KEY, Warning::INVALID_SIGNATURE},
    {X509_V_ERR_EE_KEY_TOO_SMALL, Warning::INVALID_SIGNATURE},
    {X509_V_ERR_CA_KEY_TOO_SMALL, Warning::INVALID_SIGNATURE},
    {X509_V_ERR_CA_MD_TOO_WEAK, Warning::INVALID_SIGNATURE},
// Not every release of OpenSSL knows these.
#ifdef X509_V_ERR_SIGNATURE_ALGORITHM_MISMATCH
    {X509_V_ERR_SIGNATURE_ALGORITHM_MISMATCH, Warning::INVALID_SIGNATURE},
#endif
#ifdef X509_V_ERR_SIGNATURE_ALGORITHM_INCONSISTENCY
    {X509_V_ERR_SIGNATURE_ALGORITHM_INCONSISTENCY, Warning::INVALID_SIGNATURE},
#endif
#ifdef X509_V_ERR_UNSUPPORTED_SIGNATURE_ALGORITHM
    {X509_V_ERR_UNSUPPORTED_SIGNATURE_ALGORITHM, Warning::INVALID_SIGNATURE},
#endif
#ifdef X509_V_ERR_EC_KEY_EXPLICIT_PARAMS
    {X509_V_ERR_EC_KEY_EXPLICIT_PARAMS, Warning::INVALID_SIGNATURE},
#endif
    // Extensions.
    {X509_V_ERR_PATH_LENGTH_EXCEEDED, Warning::BC_PATH_LENGTH},
    {X509_V_ERR_UNHANDLED_CRITICAL_EXTENSION, Warning::UNKNOWN_CRITICAL_EXT},
    {X509_V_ERR_KEYUSAGE_NO_CERTSIGN, Warning::KU_INVALID},
    {X509_V_ERR_PERMITTED_VIOLATION, Warning::NAME_CONSTRAINTS},
    {X509_V_ERR_EXCLUDED_VIOLATION, Warning::NAME_CONSTRAINTS},
    {X509_V_ERR_SUBTREE_MINMAX, Warning::NAME_CONSTRAINTS},
    {X509_V_ERR_UNSUPPORTED_CONSTRAINT_TYPE, Warning::NAME_CONSTRAINTS},
    {X509_V_ERR_UNSUPPORTED_CONSTRAINT_SYNTAX, Warning::NAME_CONSTRAINTS},
    {X509_V_ERR_UNSUPPORTED_NAME_SYNTAX, Warning::NAME_CONSTRAINTS},
    {X509_V_ERR_CERT_REVOKED, Warning::REVOKED},
};

bool hasExtension(const X509* certificate, int nid) {
  return X509_get_ext_by_NID(certificate, nid, -1) >= 0;
}

// Why a certificate that issued another may not do so.
Warnings whyNotCa(X509* certificate) {
  if (!hasExtension(certificate, NID_basic_constraints)) return Warning::BC_MISSING;
  if ((X509_get_extension_flags(certificate) & EXFLAG_CA) == 0) return Warning::BC_NOT_CA;
  return Warning::KU_INVALID;
}

}  // namespace

Warnings findingOf(int error, X509* certificate, int depth) noexcept {
  if (error == X509_V_ERR_INVALID_CA && certificate != nullptr) return whyNotCa(certificate);
  if (error == X509_V_ERR_INVALID_PURPOSE) {
    // A certificate that is no CA fails the purpose of a CA as well: one fact, one name.
    const bool noCa = depth > 0 && certificate != nullptr && X509_check_ca(certificate) != 1;
    return noCa ? whyNotCa(certificate) : Warning::KU_INVALID;
  }
  for (const Mapping& mapping : kMappings) {
    if (mapping.error == error) return mapping.warning;
  }
  return Warning::NO_TRUSTED;
}

Warnings findInCaCertificate(X509* certificate) noexcept {
  const int at = X509_get_ext_by_NID(certificate, NID_basic_constraints, -1);
  Warnings found = 0;
  if (at < 0) {
    found |= Warning::BC_MISSING;
  } else if ((X509_get_extension_flags(certificate) & EXFLAG_CA) != 0 &&
             X509_EXTENSION_get_critical(X509_get_ext(certificate, at)) == 0) {
    found |= Warning::BC_NOT_CRITICAL;
  }
  // Before version 3 there was no way to say it, and BC_MISSING already tells.
  constexpr long kVersion3 = 2;
  if (X509_get_version(certificate) >= kVersion3 && !hasExtension(certificate, NID_key_usage)) {
    found |= Warning::KU_MISSING;
  }
  return found;
}

Warnings findInExtensions(X509* certificate) noexcept {
  const bool unreadable = (X509_get_extension_flags(certificate) & EXFLAG_INVALID) != 0;
  return unreadable ? Warnings{Warning::NO_TRUSTED} : 0;
}
