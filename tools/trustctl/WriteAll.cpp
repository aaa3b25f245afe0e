#include "tools/trustctl/WriteAll.h"

#include <errno.h>
#include <unistd.h>

#include "tools/trustctl/Interruption.h"

int writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(fd, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EINTR) {
      Interruption::check();
    } else {
      return errno;
    }
  }
  return 0;
}
