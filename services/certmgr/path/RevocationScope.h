#ifndef SERVICES_CERTMGR_PATH_REVOCATIONSCOPE_H
#define SERVICES_CERTMGR_PATH_REVOCATIONSCOPE_H

#include <vector>

#include "services/certmgr/path/ParsedCertificate.h"
#include "services/certmgr/path/RevocationList.h"

// What lists say about certificates, were they true: no look at the clock, and none at
// signatures. Pure functions.

// Whether the list is understood in full, and is one that may speak about the certificate: its
// issuer's, or one that its distribution points refer to, of its kind and for its point.
bool isAbout(const RevocationList& list, const ParsedCertificate& certificate);

// The entries of the certificate in a list that is about it, in their order.
std::vector<RevocationEntry> entriesOf(const RevocationList& list,
                                       const ParsedCertificate& certificate);

// Whether `changes` is a list of changes that continues `list`: of the same issuer and scope,
// from a number that is not above it to one that is.
bool continues(const RevocationList& changes, const RevocationList& list);

#endif
