#ifndef TOOLS_TRUSTCTL_BLACKLIST_BLACKLISTTABLE_H
#define TOOLS_TRUSTCTL_BLACKLIST_BLACKLISTTABLE_H

#include <string_view>
#include <vector>

// One entry of the built-in blacklist, for showing. The library, which knows no incidents, has
// a table of its own from the same data; its verdict counts.
struct BlacklistEntry {
  const char* serial;    // lower-case hexadecimal
  const char* domain;    // the entry holds for certificates with this name only; empty: for all
  const char* incident;  // where the certificate comes from, in plain words
};

// All entries, in the order of the data.
const std::vector<BlacklistEntry>& blacklistEntries();

// The first entry with that serial number, as the library writes them; NULL when there is none.
const BlacklistEntry* findBlacklistEntry(std::string_view serial);

#endif
