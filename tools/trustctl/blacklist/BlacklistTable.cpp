#include "tools/trustctl/blacklist/BlacklistTable.h"

#include <algorithm>

const std::vector<BlacklistEntry>& blacklistEntries() {
  static const std::vector<BlacklistEntry> entries = {
#include "BlacklistIncidents.inc"
  };
  return entries;
}

const BlacklistEntry* findBlacklistEntry(std::string_view serial) {
  const auto& entries = blacklistEntries();
  const auto found = std::find_if(entries.begin(), entries.end(), [&](const BlacklistEntry& entry) {
    return serial == entry.serial;
  });
  return found == entries.end() ? nullptr : &*found;
}
