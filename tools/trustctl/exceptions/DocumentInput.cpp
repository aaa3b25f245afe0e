#include "tools/trustctl/exceptions/DocumentInput.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <system_error>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/InputFile.h"
#include "tools/trustctl/Interruption.h"

namespace {

std::string reasonOf(int error) {
  return std::generic_category().message(error);
}

void copyStandardInput(UnnamedFile* copy) {
  std::string buffer(std::size_t{256} * 1024, '\0');
  for (;;) {
    Interruption::check();
    const ssize_t length = read(STDIN_FILENO, buffer.data(), buffer.size());
    if (length == 0) {
      return;
    }
    if (length > 0) {
      copy->write({buffer.data(), static_cast<std::size_t>(length)});
    } else if (errno != EINTR) {
      throw CommandError(
          ExitStatus::wrongUse,
          fmt::format("standard input cannot be read: {}; name a file", reasonOf(errno)));
    }
  }
}

void openPlainFile(const std::string& path, const std::string& name, FileDescriptor* file) {
  // Does not wait for whoever writes to a named pipe.
  file->reset(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status {};
  if (file->get() == -1 || fstat(file->get(), &status) != 0) {
    throw CommandError(ExitStatus::wrongUse,
                       fmt::format("{} cannot be read: {}; check the path", name, reasonOf(errno)));
  }
  if (!S_ISREG(status.st_mode)) {
    throw CommandError(
        ExitStatus::wrongUse,
        fmt::format("{} is no plain file; connect it to standard input and name it -", name));
  }
}

}  // namespace

DocumentInput::DocumentInput(const std::string& path) : name_(inputName(path)) {
  if (path == "-") {
    copyStandardInput(&copy_.emplace("standard input", "import from a file"));
  } else {
    openPlainFile(path, name_, &file_);
  }
}
