#ifndef SERVICES_CERTMGR_WORKERS_PATHWALK_H
#define SERVICES_CERTMGR_WORKERS_PATHWALK_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/objects/ControlSocket.h"

// Opens the plain file at an absolute path for reading as far as its mode, and those of the
// directories on the way, let a user of that number and those groups do so. Symbolic links are
// followed, each part looked at where it is opened, so that nothing can be exchanged in between.
// An object with an access control list, and anything in /proc, is closed to him.
// Empty with errno where it cannot be opened: EACCES, too, for what he or this process may not
// look at, whether it is there or not.
OwnedFd openFor(uid_t uid, const std::vector<gid_t>& groups, const std::string& path);

#endif
