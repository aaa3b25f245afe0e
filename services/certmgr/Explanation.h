#ifndef SERVICES_CERTMGR_EXPLANATION_H
#define SERVICES_CERTMGR_EXPLANATION_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "services/certmgr/ChainInput.h"
#include "services/certmgr/path/Evaluation.h"

// What a verdict was made of.
struct ExplanationInput {
  std::int64_t now = 0;                 // the moment that it is about
  std::string store;                    // its directory
  std::size_t anchors = 0;              // in that store and all that is joined with it
  std::vector<GivenCertificate> given;  // the chain, the leaf first
  std::string chainDirectory;           // where the service has files of its own
};

// The whole of a verdict, for people: each member of the path, each finding with its evidence, how
// the path was chosen, how long the verdict holds, and the answer that a client gets. Ends with a
// line feed; nothing in it that came from a certificate can draw outside of its place.
std::string explain(const ExplanationInput& input, const Evaluation& evaluation);

#endif
