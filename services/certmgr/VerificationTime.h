#ifndef SERVICES_CERTMGR_VERIFICATIONTIME_H
#define SERVICES_CERTMGR_VERIFICATIONTIME_H

#include <ctime>
#include <string>

// Reads a point in time: RFC 3339 ("2026-02-02T00:00:01Z", "...+01:00", fractions
// dropped) or "@" and seconds since 1970. Throws std::runtime_error for anything else,
// and for a time that this machine's time_t cannot hold.
std::time_t parseVerificationTime(const std::string& text);

#endif
