#ifndef SERVICES_DIALOG_MODEL_CHAINMEMBER_H
#define SERVICES_DIALOG_MODEL_CHAINMEMBER_H

#include <string>
#include <vector>

#include "services/common/CertificateDer.h"
#include "services/common/CertificateView.h"
#include "services/common/OpenSslOwners.h"

// One certificate of a chain, read once for all that is said of it.
struct ChainMember {
  X509Ptr certificate;
  CertificateView view;
  std::string publicKey;  // as DER, to tell keys apart
};

// Reads a chain, leaf first. Throws std::runtime_error when one of them is no certificate.
std::vector<ChainMember> readChain(const std::vector<CertificateDer>& chain);

#endif
