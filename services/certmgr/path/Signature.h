#ifndef SERVICES_CERTMGR_PATH_SIGNATURE_H
#define SERVICES_CERTMGR_PATH_SIGNATURE_H

#include <cstdint>
#include <string>
#include <string_view>

#include "services/certmgr/path/PublicKey.h"

// What a certificate or a revocation list has of its signature. Points into its bytes.
struct SignedBytes {
  std::string_view content;         // the signed part
  std::string_view algorithm;       // AlgorithmIdentifier element outside of it
  std::string_view innerAlgorithm;  // and inside; the two must be the same
  std::string_view signature;
  std::string_view digest;  // digestOf() these, where it was made before; else empty
};

enum class SignatureState {
  good,
  wrong,         // it does not verify
  unsupported,   // the algorithm is unknown, or not one for this key
  weak,          // it verifies, and its digest is below 112 bits of security
  inconsistent,  // the two algorithm fields differ
};

// The digest of the content that the algorithm asks for; empty when there is none. Whoever checks
// long content with several keys makes it once.
std::string digestOf(const SignedBytes& bytes);

// What checkSignature() costs, in units of a Budget.
std::int64_t checkCost(const SignedBytes& bytes, const PublicKey& key);

// Checks with OpenSSL. Says nothing about the strength of the key. Throws std::bad_alloc: a check
// that could not be made has no outcome to remember.
SignatureState checkSignature(const SignedBytes& bytes, const PublicKey& key);

// "sha256WithRSAEncryption", or the object identifier of an algorithm without a name.
std::string algorithmText(std::string_view algorithm);

#endif
