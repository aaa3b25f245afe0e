#include "services/certmgr/Revocation.h"

#include <openssl/err.h>
#include <openssl/x509v3.h>

#include "services/common/OpenSslOwners.h"

namespace {

using DistributionPointPtr = OpenSslOwner<ISSUING_DIST_POINT, ISSUING_DIST_POINT_free>;

bool isInForce(const X509_CRL* list, std::time_t now) {
  const ASN1_TIME* next = X509_CRL_get0_nextUpdate(list);
  // X509_cmp_time gives 0 for a field that is no time.
  return X509_cmp_time(X509_CRL_get0_lastUpdate(list), &now) < 0 && next != nullptr &&
         X509_cmp_time(next, &now) > 0;
}

bool isIndirect(X509_CRL* list) {
  int found = 0;
  const DistributionPointPtr point(static_cast<ISSUING_DIST_POINT*>(
      X509_CRL_get_ext_d2i(list, NID_issuing_distribution_point, &found, nullptr)));
  constexpr int kAbsent = -1;
  if (point == nullptr) return found != kAbsent;
  return point->indirectCRL != 0;
}

// A list of one part of an issuer's certificates, or of late changes, still proves
// what it names.
bool isUnderstood(X509_CRL* list) {
  for (int i = 0; i < X509_CRL_get_ext_count(list); ++i) {
    X509_EXTENSION* extension = X509_CRL_get_ext(list, i);
    if (X509_EXTENSION_get_critical(extension) == 0) continue;
    const int nid = OBJ_obj2nid(X509_EXTENSION_get_object(extension));
    if (nid != NID_issuing_distribution_point && nid != NID_delta_crl) return false;
  }
  return !isIndirect(list);
}

bool maySignLists(X509* issuer) {
  return (X509_get_key_usage(issuer) & KU_CRL_SIGN) != 0;  // all bits when there is no keyUsage
}

}  // namespace

bool isProvenRevoked(X509* certificate, X509* issuer, X509_CRL* list, std::time_t now) {
  if (X509_NAME_cmp(X509_CRL_get_issuer(list), X509_get_issuer_name(certificate)) != 0) {
    return false;
  }
  X509_REVOKED* entry = nullptr;
  constexpr int kRevoked = 1;  // 2 means that a later list takes the revocation back
  if (X509_CRL_get0_by_cert(list, &entry, certificate) != kRevoked) return false;
  if (!isInForce(list, now) || !isUnderstood(list) || !maySignLists(issuer)) return false;
  EVP_PKEY* key = X509_get0_pubkey(issuer);
  const bool proven = key != nullptr && X509_CRL_verify(list, key) == 1;
  ERR_clear_error();
  return proven;
}
