#ifndef SERVICES_CERTMGR_PATH_EVALUATION_H
#define SERVICES_CERTMGR_PATH_EVALUATION_H

#include <cstdint>
#include <limits>
#include <vector>

#include "services/certmgr/path/Finding.h"
#include "services/certmgr/path/ParsedCertificate.h"

// The verdict on one chain: the path that was chosen, and everything that is wrong with it.
struct Evaluation {
  std::vector<CertificatePtr> path;  // leaf first, never empty; ends in an anchor if one was found
  bool endsInAnchor = false;
  std::vector<Finding> findings;  // sorted; empty exactly when the path is valid
  bool gaveUp = false;            // the budget ended before every path had been looked at
  std::size_t pathsTried = 0;

  // At any moment in [from, until) the same input would be judged the same.
  std::int64_t from = std::numeric_limits<std::int64_t>::min();
  std::int64_t until = std::numeric_limits<std::int64_t>::max();

  Warnings warnings() const;  // of all findings
  bool isValid() const { return findings.empty(); }
};

#endif
