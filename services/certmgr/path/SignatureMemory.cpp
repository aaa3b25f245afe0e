#include "services/certmgr/path/SignatureMemory.h"

#include <optional>

SignatureState SignatureMemory::check(const SignedBytes& bytes, const std::string& fingerprint,
                                      const PublicKey& key) {
  const std::string name = fingerprint + key.identity();
  if (const std::optional<SignatureState> known = known_.find(name)) return *known;
  const SignatureState state = checkSignature(bytes, key);
  known_.keep(name, state);
  return state;
}
