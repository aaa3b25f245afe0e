#ifndef SERVICES_CERTMGR_STORES_PEMFILE_H
#define SERVICES_CERTMGR_STORES_PEMFILE_H

#include <string>
#include <vector>

#include "services/certmgr/path/RevocationList.h"
#include "services/certmgr/path/TrustStore.h"

// What a PEM text holds of certificates and revocation lists, in its order.
struct PemContent {
  std::vector<Anchor> anchors;  // with what "TRUSTED CERTIFICATE" blocks say of their use
  std::vector<RevocationListPtr> revocationLists;
  bool damaged = false;  // a block of either kind, or of none that can be told, cannot be read
};

// Reads every block. One that is damaged costs nobody the others.
PemContent readPem(const std::string& text);

#endif
