#ifndef SERVICES_CERTMGR_PATH_PATHSEARCH_H
#define SERVICES_CERTMGR_PATH_PATHSEARCH_H

#include <vector>

#include "services/certmgr/path/Budget.h"
#include "services/certmgr/path/Evaluation.h"
#include "services/certmgr/path/Moment.h"
#include "services/certmgr/path/PolicyProcessing.h"
#include "services/certmgr/path/SignatureMemory.h"
#include "services/certmgr/path/TrustStore.h"

// What one evaluation goes by.
struct PathInput {
  CertificatePtr leaf;
  std::vector<CertificatePtr> others;  // that came along, in any order
  const TrustStore& store;
  const PolicySettings& policies;
};

// Finds the path from the leaf to an anchor of the store, and what is wrong with it.
//
// The issuers of a certificate are those that bear its issuer's name, from the store and from
// what came along. They are tried in one fixed order: those that its key identifiers point at
// first and those they exclude last; then anchors; then those that are in their time; then by
// fingerprint. Whose key did not sign the certificate is passed over, unless nobody's did, nor
// its own: then the first whom its key identifiers do not exclude stands for the issuer, with a
// finding. No path visits a name with the same key twice.
//
// The first path without findings is chosen. Failing that, of all paths: one that ends in an
// anchor before others; then the one with the fewest kinds of warnings; then with the fewest
// findings; then the longest if it reaches no anchor; then the first. A leaf that is an anchor is
// its own path. Nothing of this depends on the order of `others` or on what is remembered.
//
// Throws std::bad_alloc.
Evaluation findPath(const PathInput& input, Moment& moment, Budget& budget,
                    SignatureMemory& signatures);

#endif
