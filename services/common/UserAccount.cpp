#include "services/common/UserAccount.h"

#include <grp.h>
#include <pwd.h>

#include <cerrno>

namespace {

constexpr std::size_t kMaxEntryBytes = 1024 * 1024;
constexpr int kMaxGroups = 65536;  // as many as the kernel lets a process have

std::vector<gid_t> groupsOf(const char* name, gid_t gid) {
  int count = 64;
  std::vector<gid_t> groups(static_cast<std::size_t>(count));
  while (getgrouplist(name, gid, groups.data(), &count) == -1) {
    if (count <= static_cast<int>(groups.size()) || count > kMaxGroups) return {gid};
    groups.resize(static_cast<std::size_t>(count));
  }
  groups.resize(static_cast<std::size_t>(count));
  return groups;
}

}  // namespace

UserAccount lookUpUser(uid_t uid, gid_t gid) {
  passwd entry = {};
  passwd* found = nullptr;
  std::vector<char> texts(4096);
  while (getpwuid_r(uid, &entry, texts.data(), texts.size(), &found) == ERANGE &&
         texts.size() < kMaxEntryBytes) {
    texts.resize(texts.size() * 2);
  }
  if (found == nullptr) return {uid, gid, {gid}, std::to_string(uid), ""};
  return {uid, found->pw_gid, groupsOf(found->pw_name, found->pw_gid), found->pw_name,
          found->pw_dir};
}
