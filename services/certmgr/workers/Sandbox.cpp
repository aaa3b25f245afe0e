#include "services/certmgr/workers/Sandbox.h"

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>

#include "services/certmgr/workers/FileRestriction.h"
#include "services/certmgr/workers/SystemCallFilter.h"

namespace {

// Reads the files of stores as root does, and those of clients as they could.
constexpr std::uint32_t kKeptCapabilities =
    1U << CAP_DAC_READ_SEARCH | 1U << CAP_SETGID | 1U << CAP_SETUID;

bool dropCapabilities() {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
  if (syscall(SYS_capget, &header, data) != 0) return false;
  __user_cap_data_struct kept[_LINUX_CAPABILITY_U32S_3] = {};
  kept[0].effective = data[0].effective & kKeptCapabilities;
  kept[0].permitted = data[0].permitted & kKeptCapabilities;
  return syscall(SYS_capset, &header, kept) == 0;
}

}  // namespace

void shieldProcess() {
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
}

std::vector<std::string> enterSandbox(const SandboxNeeds& needs) {
  shieldProcess();
  prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
  std::vector<std::string> missing;
  if (!dropCapabilities()) missing.emplace_back("giving up capabilities");
  if (!restrictFiles(needs)) missing.emplace_back("Landlock");
  // Last, since the others are system calls.
  if (!filterSystemCalls()) missing.emplace_back("seccomp");
  return missing;
}
