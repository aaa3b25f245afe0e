#ifndef SERVICES_CERTMGR_STOREITEM_H
#define SERVICES_CERTMGR_STOREITEM_H

#include <cstdint>
#include <string>
#include <vector>

#include "services/certmgr/PemFile.h"
#include "services/certmgr/StoreReport.h"
#include "services/certmgr/path/ParsedCertificate.h"

// A certificate or a revocation list in a file of a store.
struct StoreItem {
  enum class Kind { certificate, list };
  Kind kind = Kind::certificate;
  std::string owner;           // subject or issuer, printable
  std::string nameHash;        // of that name, as the files of a hashed directory are called
  std::string fingerprint;     // SHA-256, 32 bytes
  CertificatePtr certificate;  // NULL for a list, and for a certificate that cannot be used
  std::string unusable;        // why it cannot, printable; else empty
  std::string trust;           // the trust settings of its file, printable; or empty
  X509CrlPtr list;             // NULL for a certificate

  // "certificate CN=Root"
  std::string title() const;
};

// All that a PEM text holds, in its order, certificates first.
std::vector<StoreItem> itemsOf(PemContent content);

// Tells in `file` what the certificate is and what is wrong with it as an anchor at `now`.
void reportCertificate(const StoreItem& item, std::int64_t now, StoreFile& file);

// The same for a list. `issuers` are the certificates of the store.
void reportList(const StoreItem& item, const std::vector<CertificatePtr>& issuers, std::int64_t now,
                StoreFile& file);

#endif
