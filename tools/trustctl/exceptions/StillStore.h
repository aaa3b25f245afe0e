#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_STILLSTORE_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_STILLSTORE_H

#include <functional>

#include "tools/trustctl/exceptions/ExceptionStore.h"

// Calls `look` while no other run of this tool changes the store: where one decision is removed
// another takes over its file's name, and a look in between would miss it. Once more where it
// turns out that a run has changed the store all the same, so it must begin anew each time.
// Throws what it throws, and what StoreLock does.
void whileStill(const ExceptionStore& store, const std::function<void()>& look);

#endif
