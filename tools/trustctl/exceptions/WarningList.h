#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_WARNINGLIST_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_WARNINGLIST_H

#include <string>

// Reads the names of warnings as people list them, "NO_TRUSTED,CERT_EXPIRY", and returns the set.
// Throws CommandError (wrongUse) when there is none, and for an unknown one with what it was
// likely meant to be.
unsigned long long parseWarningList(const std::string& typed);

// Throws CommandError (wrongUse) where the set accepts a revoked chain, unless `evenRevoked`:
// nobody asks about those, but the library would honour the decision. `what` stands in front.
void refuseRevoked(unsigned long long warnings, bool evenRevoked, const std::string& what);

#endif
