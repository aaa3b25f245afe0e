#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_DECISIONREMOVAL_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_DECISIONREMOVAL_H

#include "tools/trustctl/exceptions/RecordId.h"
#include "tools/trustctl/exceptions/StoreWriter.h"

// Removes a decision that was read before the writer had its right, and so may have another name
// by now: under its hash it is looked for again, and every copy of it goes. False when there was
// none any more. Throws as StoreWriter does.
bool removeDecision(StoreWriter* writer, const ExceptionStore& store, const StoredRecord& decision);

#endif
