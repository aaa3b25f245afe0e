#ifndef TOOLS_TRUSTCTL_NAMEDCERTIFICATE_H
#define TOOLS_TRUSTCTL_NAMEDCERTIFICATE_H

#include <string>
#include <vector>

#include "services/common/CertificateNames.h"
#include "services/common/OpenSslOwners.h"

// Reads names as people type them, separated by commas: each a DNS name, or of the kind that it
// is marked with as certificates show it: "DNS:", "CN:", "IP:" or "IP Address:", "URI:", "email:".
// Throws CommandError (wrongUse) on an empty name and on an address that is none.
std::vector<CertificateName> parseNames(const std::string& typed);

// A certificate, unsigned and without a key, that bears these names in this order, those of one
// kind before the common names. So names that nobody has put into a certificate yet go the same
// way as those of a real one.
X509Ptr certificateWithNames(const std::vector<CertificateName>& names);

#endif
