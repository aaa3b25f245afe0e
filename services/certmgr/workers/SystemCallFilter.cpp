#include "services/certmgr/workers/SystemCallFilter.h"

#ifdef TRUSTLIB_HAS_SECCOMP

#include <seccomp.h>
#include <sys/socket.h>

#include <cerrno>
#include <memory>

namespace {

// A leak checker looks at the other threads of its own process at the end.
#if defined __SANITIZE_ADDRESS__
constexpr bool kTracesItself = true;
#elif defined __has_feature
constexpr bool kTracesItself = __has_feature(address_sanitizer);
#else
constexpr bool kTracesItself = false;
#endif

constexpr const char* kRefused[] = {
    // starting programs
    "execve", "execveat",
    // other processes
    "process_vm_readv", "process_vm_writev", "process_madvise", "kcmp", "pidfd_getfd",
    "perf_event_open", "userfaultfd",
    // the tree of files and the name spaces
    "mount", "umount", "umount2", "pivot_root", "chroot", "fsopen", "fsconfig", "fsmount", "fspick",
    "move_mount", "open_tree", "mount_setattr", "unshare", "setns", "open_by_handle_at",
    "name_to_handle_at", "quotactl", "quotactl_fd", "swapon", "swapoff", "acct",
    // code and settings of the kernel
    "bpf", "init_module", "finit_module", "delete_module", "kexec_load", "kexec_file_load",
    "reboot", "syslog", "iopl", "ioperm", "sethostname", "setdomainname", "personality",
    // keys
    "add_key", "request_key", "keyctl",
    // the clock
    "settimeofday", "clock_settime", "clock_settime64", "clock_adjtime", "clock_adjtime64",
    "adjtimex", "stime",
    // a second way to most of the others
    "io_uring_setup", "io_uring_enter", "io_uring_register"};

struct FilterRelease {
  void operator()(void* filter) const { seccomp_release(filter); }
};
using Filter = std::unique_ptr<void, FilterRelease>;

bool refuse(const Filter& filter, const char* name) {
  const int number = seccomp_syscall_resolve_name(name);
  if (number == __NR_SCMP_ERROR) return true;  // a call that is newer than the library
  return seccomp_rule_add_array(filter.get(), SCMP_ACT_ERRNO(EPERM), number, 0, nullptr) == 0;
}

bool refuseOtherFamilies(const Filter& filter, const char* name) {
  const scmp_arg_cmp isOther = {0, SCMP_CMP_NE, AF_UNIX, 0};
  return seccomp_rule_add_array(filter.get(), SCMP_ACT_ERRNO(EPERM),
                                seccomp_syscall_resolve_name(name), 1, &isOther) == 0;
}

}  // namespace

bool filterSystemCalls() {
  const Filter filter(seccomp_init(SCMP_ACT_ALLOW));
  if (filter == nullptr) return false;
  // Calls in the way of another architecture would pass the list by.
  if (seccomp_attr_set(filter.get(), SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_ERRNO(EPERM)) != 0) {
    return false;
  }
  for (const char* name : kRefused) {
    if (!refuse(filter, name)) return false;
  }
  if (!kTracesItself && !refuse(filter, "ptrace")) return false;
  return refuseOtherFamilies(filter, "socket") && refuseOtherFamilies(filter, "socketpair") &&
         seccomp_load(filter.get()) == 0;
}

#else

bool filterSystemCalls() {
  return false;
}

#endif
