#ifndef SERVICES_CERTMGR_PATH_DERTIME_H
#define SERVICES_CERTMGR_PATH_DERTIME_H

#include <cstdint>
#include <optional>

#include "services/certmgr/path/DerReader.h"

// A UTCTime or GeneralizedTime in the form that certificates must have ("YYMMDDHHMMSSZ",
// "YYYYMMDDHHMMSSZ"), in seconds since 1970; nothing for anything else.
std::optional<std::int64_t> secondsOf(const DerReader::Element& time);

#endif
