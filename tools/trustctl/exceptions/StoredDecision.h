#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_STOREDDECISION_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_STOREDDECISION_H

#include <optional>

#include "tools/trustctl/exceptions/ExceptionStore.h"
#include "tools/trustctl/exceptions/RecordId.h"

// The stored record that the library takes for this decision, looked for where the library
// looks; nothing where it would find none. Throws CommandError (undecided) when a file on the way
// cannot be read, which makes the library fail as well, and Interrupted.
std::optional<StoredRecord> findStored(const ExceptionStore& store, const ExceptionRecord& record);

#endif
