#ifndef SERVICES_CERTMGR_WORKERS_PEERFILES_H
#define SERVICES_CERTMGR_WORKERS_PEERFILES_H

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/objects/ControlRequest.h"
#include "services/common/UserIdentity.h"

// Reads the files that a client names, and none that the client could not have read itself.
//
// For its own user, and for root, this process reads as it may. For another user it takes on his
// rights while the object lives, in this thread alone; where it may not do that, it goes along
// the path by itself and opens only what the owner, group and mode of every part allow both him
// and this process. What those three do not tell the whole of (access control lists, /proc) it
// leaves closed. What a missing file and a closed one are called tells nobody more than his own
// rights would.
class PeerFiles {
 public:
  // Who connected, as the request tells. Throws std::runtime_error, fit for an answer, when the
  // system does not tell that, or not enough to know his rights.
  explicit PeerFiles(const ControlRequest& request);

  // The bytes of a plain file of at most 64 KiB, named by an absolute path. Throws
  // std::runtime_error that names the file and the reason.
  std::string read(const std::string& path) const;

 private:
  std::optional<UserIdentity> identity_;  // in effect as long as this object
  bool walks_ = false;
  uid_t uid_;
  std::vector<gid_t> groups_;  // all of them
};

#endif
