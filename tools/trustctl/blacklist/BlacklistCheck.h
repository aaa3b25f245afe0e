#ifndef TOOLS_TRUSTCTL_BLACKLIST_BLACKLISTCHECK_H
#define TOOLS_TRUSTCTL_BLACKLIST_BLACKLISTCHECK_H

#include <optional>
#include <string>
#include <vector>

#include "tools/trustctl/blacklist/BlacklistTable.h"

// What the blacklist says of one serial number or certificate.
struct BlacklistFinding {
  std::string serial;                     // as the library looks it up
  std::optional<std::string> file;        // where the certificate stands; nothing: a bare number
  std::optional<std::string> subject;     // of the certificate; escaped
  bool onList = false;                    // what the library says
  const BlacklistEntry* entry = nullptr;  // the number's entry; it may hold for other names only
};

// A bare number is on the list where the library has an entry for it, whatever its domain.
BlacklistFinding checkSerialNumber(const std::string& serial);

// Every certificate of an input, as a verdict would look it up, its names with it. Throws
// CommandError and Interrupted as readCertificates does.
std::vector<BlacklistFinding> checkCertificatesIn(const std::string& path);

#endif
