#ifndef SERVICES_CERTMGR_PATH_PATHCHECK_H
#define SERVICES_CERTMGR_PATH_PATHCHECK_H

#include <vector>

#include "services/certmgr/path/Finding.h"
#include "services/certmgr/path/Moment.h"
#include "services/certmgr/path/TrustStore.h"

// What each member of a path, leaf first, has wrong by itself or by its place: time, key,
// extensions, basic constraints, path length, usage. `anchor` is the last member, NULL when the
// path does not reach one. Appends to `findings`.
void checkMembers(const std::vector<CertificatePtr>& path, const Anchor* anchor, Moment& moment,
                  std::vector<Finding>& findings);

// Whether `moment` lies in the time of the certificate; one without a readable time has none.
bool isInTime(const ParsedCertificate& certificate, Moment& moment);

// Whether `certificate` says that another key than that of `issuer` issued it.
bool namesOtherKey(const ParsedCertificate& certificate, const ParsedCertificate& issuer);

#endif
