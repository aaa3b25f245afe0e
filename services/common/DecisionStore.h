#ifndef SERVICES_COMMON_DECISIONSTORE_H
#define SERVICES_COMMON_DECISIONSTORE_H

#include <string>

// Where the library keeps the decisions of the user with that home directory, which must be
// resolved; empty for a user without one.
std::string decisionStoreIn(const std::string& home);

// The same for this process, by HOME as it is now: the library looks HOME up once and for all.
std::string ownDecisionStore();

#endif
