#ifndef SERVICES_CERTMGR_STORES_STOREITEM_H
#define SERVICES_CERTMGR_STORES_STOREITEM_H

#include <cstdint>
#include <string>
#include <vector>

#include "services/certmgr/path/ParsedCertificate.h"
#include "services/certmgr/stores/PemFile.h"
#include "services/certmgr/stores/StoreReport.h"

// A certificate or a revocation list in a file of a store.
struct StoreItem {
  CertificatePtr certificate;  // one of these two is NULL
  RevocationListPtr list;
  Anchor::Use use = Anchor::Use::unrestricted;

  bool isList() const { return list != nullptr; }
  // "certificate CN=Root"
  std::string title() const;
  // Subject or issuer, printable.
  std::string owner() const;
  // Of that name, as the files of a hashed directory are called: "1a2b3c4d".
  std::string nameHash() const;
  // SHA-256, 32 bytes.
  std::string fingerprint() const;
};

// All that a PEM text holds, in its order, certificates first.
std::vector<StoreItem> itemsOf(PemContent content);

// Tells in `file` what the certificate is and what is wrong with it as an anchor at `now`.
void reportCertificate(const StoreItem& item, std::int64_t now, StoreFile& file);

// The same for a list. Its issuer is looked for among `certificates`, all of the store.
void reportList(const StoreItem& item, const std::vector<CertificatePtr>& certificates,
                std::int64_t now, StoreFile& file);

#endif
