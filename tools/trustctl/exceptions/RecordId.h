#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_RECORDID_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_RECORDID_H

#include <string>
#include <vector>

#include "tools/trustctl/exceptions/ExceptionStore.h"

// A record and where it stood when it was read.
struct StoredRecord {
  std::string fileName;
  ExceptionRecord record;
};

// Finds records by what people call them, each once: the name of the file; at least four
// hexadecimal digits that a hash begins with; or a domain, in any letter case. Throws
// CommandError: wrongUse when an ID means none (with the domain that was probably meant) or
// several (with their names), undecided when what it means cannot be read.
std::vector<StoredRecord> findRecords(const ExceptionStore& store,
                                      const std::vector<std::string>& ids);

#endif
