#ifndef SERVICES_CERTMGR_PEMFILE_H
#define SERVICES_CERTMGR_PEMFILE_H

#include <string>
#include <vector>

#include "services/common/OpenSslOwners.h"

// What a PEM text holds of certificates and revocation lists, in its order.
struct PemContent {
  std::vector<X509Ptr> certificates;
  std::vector<X509CrlPtr> revocationLists;
  bool damaged = false;  // a block of either kind, or of none that can be told, cannot be read
};

// Reads every block. One that is damaged costs nobody the others.
PemContent readPem(const std::string& text);

#endif
