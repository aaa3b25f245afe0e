#ifndef SERVICES_CERTMGR_PATH_REVOCATIONLIST_H
#define SERVICES_CERTMGR_PATH_REVOCATIONLIST_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "services/certmgr/path/DistinguishedName.h"
#include "services/certmgr/path/Signature.h"

// A revocation list, read once and never changed, so any number of threads may share one.
struct RevocationList {
  // Throws DerError when the bytes are not exactly one revocation list.
  static std::shared_ptr<const RevocationList> parse(std::string der);

  std::string der;
  std::string fingerprint;  // SHA-256, 32 bytes
  DistinguishedName issuer;
  SignedBytes signedBytes;
  std::optional<std::int64_t> thisUpdate;  // seconds since 1970; nothing: it is no time
  std::optional<std::int64_t> nextUpdate;
};

using RevocationListPtr = std::shared_ptr<const RevocationList>;

#endif
