#ifndef SERVICES_CERTMGR_PATH_SIGNATUREMEMORY_H
#define SERVICES_CERTMGR_PATH_SIGNATUREMEMORY_H

#include <cstddef>
#include <string>

#include "services/certmgr/path/Remembered.h"
#include "services/certmgr/path/Signature.h"

// Signature checks that were made, so that chains which share certificates do not repeat them.
// Safe from several threads.
class SignatureMemory {
 public:
  // Remembers at least the latest `capacity` checks.
  explicit SignatureMemory(std::size_t capacity) : known_(capacity) {}

  // What checkSignature() says. `fingerprint` is the SHA-256 of what bears the signature, as a
  // whole. Throws std::bad_alloc.
  SignatureState check(const SignedBytes& bytes, const std::string& fingerprint,
                       const PublicKey& key);

 private:
  Remembered<SignatureState> known_;
};

#endif
