#ifndef TOOLS_TRUSTCTL_CONNECT_OCSPSTAPLE_H
#define TOOLS_TRUSTCTL_CONNECT_OCSPSTAPLE_H

#include <vector>

#include "services/common/CertificateDer.h"
#include "tools/trustctl/connect/ConnectionFacts.h"

// Reads the OCSP answer that came with the chain (leaf first, at least one), as far as it is
// about the leaf. No bytes are no answer; anything else that cannot be read is unusable. Pure.
StapledAnswer readStaple(const std::vector<unsigned char>& bytes,
                         const std::vector<CertificateDer>& chain);

#endif
