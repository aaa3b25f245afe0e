#ifndef SERVICES_CERTMGR_STORES_STORECHECK_H
#define SERVICES_CERTMGR_STORES_STORECHECK_H

#include <cstdint>
#include <string>

#include "services/certmgr/stores/StoreReport.h"

// Looks through a store's directory as the service and OpenSSL's look-ups see it, and holds all
// that is in it against the moment `now`. Changes nothing. Throws std::runtime_error with the
// reason when it is no directory that can be read.
StoreReport checkStore(const std::string& directory, std::int64_t now);

#endif
