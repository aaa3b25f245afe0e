#ifndef SERVICES_CERTMGR_EVALUATOR_H
#define SERVICES_CERTMGR_EVALUATOR_H

#include <ctime>
#include <optional>
#include <vector>

#include "services/certmgr/TrustStores.h"
#include "services/certmgr/Warnings.h"
#include "services/common/OpenSslOwners.h"

struct Evaluation {
  Warnings warnings = 0;       // 0 exactly when the chain is valid
  std::vector<X509Ptr> chain;  // leaf first, as far as it could be built; never empty
};

// Judges a server's leaf against a store, at `when` or the current time, and gathers
// every finding instead of stopping at the first. Each certificate of the store is an
// anchor, the leaf itself included; keys and signatures below 112 bits of security do
// not count. The order of `intermediates` does not matter.
// Throws std::runtime_error when OpenSSL has no memory.
Evaluation evaluateChain(X509* leaf, const std::vector<X509*>& intermediates,
                         const TrustStore& store, std::optional<std::time_t> when);

#endif
