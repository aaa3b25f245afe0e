#include "services/common/UserIdentity.h"

#include <linux/capability.h>
#include <sys/fsuid.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace {

// The C library's functions would change the rights of every thread. The calls whose numbers
// end in 32 are those for whole numbers of users where the plain ones are older than these.
#ifdef SYS_setgroups32
constexpr long kSetGroups = SYS_setgroups32;
constexpr long kSetGid = SYS_setresgid32;
constexpr long kSetUid = SYS_setresuid32;
#else
constexpr long kSetGroups = SYS_setgroups;
constexpr long kSetGid = SYS_setresgid;
constexpr long kSetUid = SYS_setresuid;
#endif

bool setThreadGroups(const std::vector<gid_t>& groups) {
  return syscall(kSetGroups, groups.size(), groups.data()) == 0;
}

// These two never tell of a failure; asking with a number that nobody bears changes nothing.
bool setFileGroup(gid_t gid) {
  setfsgid(gid);
  return static_cast<gid_t>(setfsgid(static_cast<gid_t>(-1))) == gid;
}

bool setFileUser(uid_t uid) {
  setfsuid(uid);
  return static_cast<uid_t>(setfsuid(static_cast<uid_t>(-1))) == uid;
}

using Privileges = UserIdentity::Privileges;

bool getPrivileges(Privileges* privileges) {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
  if (syscall(SYS_capget, &header, data) != 0) return false;
  *privileges = {data[0].effective, data[1].effective};
  return true;
}

// Those that it keeps in reserve can be had back.
bool usePrivileges(const Privileges& privileges) {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
  if (syscall(SYS_capget, &header, data) != 0) return false;
  for (std::size_t i = 0; i < privileges.size(); ++i) data[i].effective = privileges[i];
  return syscall(SYS_capset, &header, data) == 0;
}

// The kernel forgets this signal with every change of rights.
void endWithParentBy(int signal) {
  prctl(PR_SET_PDEATHSIG, signal);
}

std::vector<gid_t> ownGroups() {
  std::vector<gid_t> groups(static_cast<std::size_t>(getgroups(0, nullptr)));
  if (getgroups(static_cast<int>(groups.size()), groups.data()) < 0) {
    throw std::runtime_error("the service cannot tell its own groups");
  }
  return groups;
}

}  // namespace

UserIdentity::UserIdentity(const UserAccount& user) : gid_(getegid()), uid_(geteuid()) {
  if (isOwnUser(user)) return;
  if (!mayActForOthers()) {
    throw std::runtime_error("the service runs as another user and does nothing for " + user.name);
  }
  groups_ = ownGroups();
  if (!getPrivileges(&privileges_)) {
    throw std::runtime_error("the service cannot tell its own rights");
  }
  prctl(PR_GET_PDEATHSIG, &signalOfParentsEnd_);
  changed_ = true;
  // What root may do beside files, such as looking into processes, opens files as well.
  if (setThreadGroups(user.groups) && setFileGroup(user.gid) && setFileUser(user.uid) &&
      usePrivileges({})) {
    endWithParentBy(signalOfParentsEnd_);
    return;
  }
  giveUp();
  throw std::runtime_error("the service cannot act for " + user.name);
}

UserIdentity::~UserIdentity() {
  if (changed_) giveUp();
}

void UserIdentity::giveUp() const {
  if (usePrivileges(privileges_) && setFileUser(uid_) && setFileGroup(gid_) &&
      setThreadGroups(groups_)) {
    endWithParentBy(signalOfParentsEnd_);
    return;
  }
  (void)fprintf(stderr, "%s: cannot return to its own rights\n", program_invocation_short_name);
  std::_Exit(EXIT_FAILURE);
}

bool UserIdentity::mayActForOthers() {
  constexpr std::uint32_t kNeeded = 1U << CAP_SETUID | 1U << CAP_SETGID;
  Privileges privileges = {};
  return getPrivileges(&privileges) && (privileges[0] & kNeeded) == kNeeded;
}

bool isOwnUser(const UserAccount& user) {
  return user.uid == geteuid();
}

bool becomeUser(const UserAccount& user) {
  return setThreadGroups(user.groups) && syscall(kSetGid, user.gid, user.gid, user.gid) == 0 &&
         syscall(kSetUid, user.uid, user.uid, user.uid) == 0;
}
