#include "tools/trustctl/TerminalTurn.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/file.h>
#include <unistd.h>

#include <initializer_list>

#include "tools/trustctl/Interruption.h"

void TerminalTurn::await() {
  for (const int fd : {STDERR_FILENO, STDOUT_FILENO, STDIN_FILENO}) {
    char path[PATH_MAX];
    if (terminal_.get() == -1 && ttyname_r(fd, path, sizeof path) == 0) {
      // Opened anew, as all who share an opening share its lock. /dev/tty would not do: it is
      // one file for all terminals.
      terminal_.reset(open(path, O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    }
  }
  while (terminal_.get() != -1 && flock(terminal_.get(), LOCK_EX) == -1 && errno == EINTR) {
    Interruption::check();
  }
}
