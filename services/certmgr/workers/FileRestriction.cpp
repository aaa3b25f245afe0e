#include "services/certmgr/workers/FileRestriction.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "platform/objects/ControlSocket.h"

#if defined SYS_landlock_restrict_self && __has_include(<linux/landlock.h>)
#include <linux/landlock.h>

namespace {

// The kernel is often newer than its header here: what that does not name yet.
struct Ruleset {
  std::uint64_t handledFileRights;
  std::uint64_t handledNetworkRights;  // from version 4 on
  std::uint64_t scopes;                // from version 6 on
};
constexpr std::uint64_t kRefer = 1U << 13;
constexpr std::uint64_t kTruncate = 1U << 14;
constexpr std::uint64_t kControlDevice = 1U << 15;
constexpr std::uint64_t kBindTcp = 1U << 0;
constexpr std::uint64_t kConnectTcp = 1U << 1;
constexpr std::uint64_t kAbstractSockets = 1U << 0;
constexpr std::uint64_t kSignals = 1U << 1;

constexpr std::uint64_t kRead = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t kRemove = LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR;
constexpr std::uint64_t kWriteAsNeeded = LANDLOCK_ACCESS_FS_WRITE_FILE |
                                         LANDLOCK_ACCESS_FS_MAKE_REG |
                                         LANDLOCK_ACCESS_FS_REMOVE_FILE | kTruncate;
constexpr std::uint64_t kOfFirstVersion = (1U << 13) - 1;

Ruleset rulesOf(long version, const SandboxNeeds& needs) {
  Ruleset rules = {kOfFirstVersion, 0, 0};
  if (version >= 2) rules.handledFileRights |= kRefer;
  if (version >= 3) rules.handledFileRights |= kTruncate;
  if (version >= 4) rules.handledNetworkRights = kBindTcp | kConnectTcp;
  if (version >= 5) rules.handledFileRights |= kControlDevice;
  if (version >= 6) rules.scopes = kAbstractSockets | kSignals;
  if (needs.removesElsewhere) rules.handledFileRights &= ~kRemove;
  return rules;
}

bool allowBelow(int ruleset, const std::string& directory, std::uint64_t rights) {
  const OwnedFd parent(::open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  landlock_path_beneath_attr rule = {};
  rule.allowed_access = rights;
  rule.parent_fd = parent.get();
  return parent &&
         syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
}

}  // namespace

bool restrictFiles(const SandboxNeeds& needs) {
  const long version =
      syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
  if (version < 1) return false;
  const Ruleset rules = rulesOf(version, needs);
  // Fields that a kernel does not know are zero, which it takes for not being there.
  const OwnedFd ruleset(
      static_cast<int>(syscall(SYS_landlock_create_ruleset, &rules, sizeof rules, 0)));
  return ruleset && allowBelow(ruleset.get(), "/", kRead & rules.handledFileRights) &&
         allowBelow(ruleset.get(), needs.writableDirectory,
                    (kRead | kWriteAsNeeded) & rules.handledFileRights) &&
         syscall(SYS_landlock_restrict_self, ruleset.get(), 0) == 0;
}

#else

bool restrictFiles(const SandboxNeeds&) {
  return false;
}

#endif
