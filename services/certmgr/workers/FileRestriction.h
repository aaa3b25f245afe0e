#ifndef SERVICES_CERTMGR_WORKERS_FILERESTRICTION_H
#define SERVICES_CERTMGR_WORKERS_FILERESTRICTION_H

#include "services/certmgr/workers/Sandbox.h"

// Takes from this thread, and those that it starts from now on, every change to files but what
// `needs` names, starting programs, and, where the kernel is new enough, TCP and signals to
// others. False when the kernel has no Landlock or refuses it.
bool restrictFiles(const SandboxNeeds& needs);

#endif
