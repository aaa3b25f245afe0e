#include "services/certmgr/workers/PeerFiles.h"

#include <unistd.h>

#include <cerrno>
#include <stdexcept>

#include "services/certmgr/workers/PathWalk.h"
#include "services/common/CertificateFiles.h"
#include "services/common/UserAccount.h"

namespace {

UserAccount accountOf(const ControlRequest& request) {
  if (!request.groups) return lookUpUser(request.uid, request.gid);
  return {request.uid, request.gid, *request.groups, "user " + std::to_string(request.uid), ""};
}

}  // namespace

PeerFiles::PeerFiles(const ControlRequest& request) : uid_(request.uid) {
  if (request.uid == static_cast<uid_t>(-1)) {
    throw std::runtime_error("the system does not tell who asks");
  }
  const uid_t own = geteuid();
  if (uid_ == own) return;
  if (UserIdentity::mayActForOthers()) {
    identity_.emplace(accountOf(request));
    return;
  }
  if (uid_ == 0) return;
  if (!request.groups) {
    throw std::runtime_error("the system does not tell the groups of user " + std::to_string(uid_) +
                             "; run the service as root, or as the user who asks");
  }
  walks_ = true;
  groups_ = *request.groups;
  groups_.push_back(request.gid);
}

std::string PeerFiles::read(const std::string& path) const {
  // A path that is not absolute is refused there as well.
  if (!walks_ || path.empty() || path.front() != '/') return readCertificateFile(path);
  const OwnedFd file = openFor(uid_, groups_, path);
  if (!file && errno == EACCES) {
    throw std::runtime_error("cannot use the file " + path +
                             ": the service runs as another user, and one of the two may not read "
                             "it; allow everybody to (chmod o+r, and o+x for its directories), or "
                             "run the service as root");
  }
  return readCertificateFile(file, path);
}
