#ifndef TOOLS_TRUSTCTL_DECISIONSTORE_H
#define TOOLS_TRUSTCTL_DECISIONSTORE_H

#include <string>

// The directory in which the library keeps this user's decisions, by HOME as it is now. The
// library itself looks HOME up once and for all, which would be too early here.
std::string userDecisionStore();

#endif
