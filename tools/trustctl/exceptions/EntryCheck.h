#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_ENTRYCHECK_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_ENTRYCHECK_H

#include <sys/stat.h>
#include <sys/types.h>

#include <optional>
#include <string>

#include "tools/trustctl/exceptions/Finding.h"

// What a file's or a directory's status alone shows to be wrong; nothing where it is as it should
// be. `expected` is whose it ought to be; root's will do as well. Pure but for user names.
std::optional<Finding> checkStoreDirectory(const struct stat& status, uid_t expected);
std::optional<Finding> checkEntry(const std::string& name, const struct stat& status,
                                  uid_t expected);

#endif
