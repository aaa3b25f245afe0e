#ifndef SERVICES_CERTMGR_PATH_SIGNATURE_H
#define SERVICES_CERTMGR_PATH_SIGNATURE_H

#include <string>
#include <string_view>

#include "services/certmgr/path/PublicKey.h"

// What a certificate or a revocation list has of its signature. Points into its bytes.
struct SignedBytes {
  std::string_view content;         // the signed part
  std::string_view algorithm;       // AlgorithmIdentifier element outside of it
  std::string_view innerAlgorithm;  // and inside; the two must be the same
  std::string_view signature;
};

enum class SignatureState {
  good,
  wrong,         // it does not verify
  unsupported,   // the algorithm is unknown, or not one for this key
  weak,          // it verifies, and its digest is below 112 bits of security
  inconsistent,  // the two algorithm fields differ
};

// Checks with OpenSSL; costs what `key.checkCost()` says. Says nothing about the strength of
// the key. Throws std::bad_alloc: a check that could not be made has no outcome to remember.
SignatureState checkSignature(const SignedBytes& bytes, const PublicKey& key);

// "sha256WithRSAEncryption", or the object identifier of an algorithm without a name.
std::string algorithmText(std::string_view algorithm);

#endif
