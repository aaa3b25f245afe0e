#ifndef SERVICES_CERTMGR_RECORDS_COUNTERSANSWER_H
#define SERVICES_CERTMGR_RECORDS_COUNTERSANSWER_H

#include <optional>
#include <string>

#include "services/certmgr/records/Counters.h"

// The answer to "getcounters", as attribute text. Numbers are decimal strings, since a number of
// the text form holds 32 bits only:
//   res::getcounters
//   id::ID
//   dat:json:{"requests":"12",...,"uptimeSeconds":"3600","warnings":{"BC_NOT_CRITICAL":"0",...}}
// Throws std::runtime_error when the codec refuses the id.
std::string encodeCounters(const Counters& counters, const std::optional<std::string>& id);

#endif
