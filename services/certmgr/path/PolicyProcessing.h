#ifndef SERVICES_CERTMGR_PATH_POLICYPROCESSING_H
#define SERVICES_CERTMGR_PATH_POLICYPROCESSING_H

#include <string>
#include <vector>

#include "services/certmgr/path/Budget.h"
#include "services/certmgr/path/Finding.h"
#include "services/certmgr/path/ParsedCertificate.h"

// What whoever asks demands of certificate policies. As it stands: nothing.
struct PolicySettings {
  std::vector<std::string> acceptable;  // contents of object identifiers; empty: any policy
  bool requireExplicit = false;
  bool inhibitMapping = false;
  bool inhibitAny = false;
};

// Judges the policies of a path, leaf first, whose last member is the anchor: RFC 5280 6.1 with
// the policy graph of RFC 9618, so that no path can make it grow beyond its own size. Appends
// to `findings`: policyMissing when a policy is required and none is left, or where anyPolicy is
// mapped; gaveUp when the budget ends.
void checkPolicies(const std::vector<CertificatePtr>& path, const PolicySettings& settings,
                   Budget& budget, std::vector<Finding>& findings);

#endif
