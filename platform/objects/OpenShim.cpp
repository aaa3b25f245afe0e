// libppsopen: open() and open64() that also know control objects.
//
// The real call goes first, so the shim is harmless where /pps really exists.
// Everything reaches the kernel through openat(), which is not wrapped here:
// calling what is wrapped would end in this file again.
#undef _FORTIFY_SOURCE  // its inline open() would stand in the way of ours
// Where these are set on 32-bit targets, open() is only another name of open64().
#undef _FILE_OFFSET_BITS
#undef _TIME_BITS

#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <string.h>
#include <sys/types.h>

#include "platform/objects/ControlObject.h"

#define PPSOPEN_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

bool takesMode(int flags) {
  return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

bool nothingIsThere(int error) {
  return error == ENOENT || error == ENOTDIR || error == ENXIO;
}

bool mayBeControlObject(const char* path, int flags) {
  return strncmp(path, "/pps/", 5) == 0 && (flags & (O_PATH | O_DIRECTORY)) == 0;
}

int openOrConnect(const char* path, int flags, mode_t mode) {
  const int before = errno;
  const int fd = openat(AT_FDCWD, path, flags, mode);
  if (fd != -1 || !nothingIsThere(errno) || !mayBeControlObject(path, flags)) return fd;

  const int realError = errno;
  const int connected = openControlObject(path, flags);
  if (connected != -1) {
    errno = before;
  } else if (errno == ENOENT) {
    errno = realError;  // no object either: the answer is the real one
  }
  return connected;
}

}  // namespace

// The mode is there only with flags that create something, as with the real call.
#define PPSOPEN_DEFINE(name, extraFlags)                      \
  PPSOPEN_EXPORT int name(const char* path, int flags, ...) { \
    mode_t mode = 0;                                          \
    if (takesMode(flags)) {                                   \
      va_list arguments;                                      \
      va_start(arguments, flags);                             \
      mode = va_arg(arguments, mode_t);                       \
      va_end(arguments);                                      \
    }                                                         \
    return openOrConnect(path, flags | (extraFlags), mode);   \
  }

// NOLINTBEGIN(clang-analyzer-valist.Uninitialized): the checker misses va_start in a macro
PPSOPEN_DEFINE(open, 0)
PPSOPEN_DEFINE(open64, O_LARGEFILE)
// What a library linked with --wrap=open calls; declared for C++ name lookup only.
PPSOPEN_EXPORT int __wrap_open(const char* path, int flags, ...);    // NOLINT: the linker's names
PPSOPEN_EXPORT int __wrap_open64(const char* path, int flags, ...);  // NOLINT: the linker's names
PPSOPEN_DEFINE(__wrap_open, 0)
PPSOPEN_DEFINE(__wrap_open64, O_LARGEFILE)
// NOLINTEND(clang-analyzer-valist.Uninitialized)
