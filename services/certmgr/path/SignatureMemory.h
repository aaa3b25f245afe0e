#ifndef SERVICES_CERTMGR_PATH_SIGNATUREMEMORY_H
#define SERVICES_CERTMGR_PATH_SIGNATUREMEMORY_H

#include <cstddef>
#include <mutex>
#include <string>
#include <unordered_map>

#include "services/certmgr/path/Signature.h"

// Signature checks that were made, so that chains which share certificates do not repeat them.
// Bounded; safe from several threads.
class SignatureMemory {
 public:
  // Remembers at least `capacity` of the latest checks, at most twice as many.
  explicit SignatureMemory(std::size_t capacity) : capacity_(capacity) {}

  // What checkSignature() says. `fingerprint` is the SHA-256 of what bears the signature, as a
  // whole. Throws std::bad_alloc.
  SignatureState check(const SignedBytes& bytes, const std::string& fingerprint,
                       const PublicKey& key);

 private:
  using Known = std::unordered_map<std::string, SignatureState>;

  const std::size_t capacity_;
  std::mutex mutex_;
  Known latest_;
  Known earlier_;  // forgotten as a whole when latest_ is full
};

#endif
