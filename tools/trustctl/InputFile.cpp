#include "tools/trustctl/InputFile.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <system_error>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/FileDescriptor.h"
#include "tools/trustctl/Interruption.h"

namespace {

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
  throw CommandError(ExitStatus::wrongUse, fmt::format("{} {}", inputName(path), why));
}

[[noreturn]] void refuseForErrno(const std::string& path, int error) {
  const char* next = error == EACCES   ? "; run as a user who may read it"
                     : error == ENOENT ? "; check the path"
                                       : "; check the file";
  refuse(path, fmt::format("cannot be read: {}{}", std::generic_category().message(error), next));
}

[[noreturn]] void refuseAsTooBig(const std::string& path, const InputRules& rules) {
  refuse(path, fmt::format("is larger than {} KiB, {}", rules.maxBytes / 1024, rules.ifLarger));
}

void requirePlainFile(const std::string& path, int fd, const InputRules& rules) {
  struct stat status {};
  if (fstat(fd, &status) == -1) {
    refuseForErrno(path, errno);
  }
  if (S_ISDIR(status.st_mode)) {
    refuse(path, "is a directory; name a file in it");
  }
  if (S_ISFIFO(status.st_mode)) {
    refuse(path, fmt::format("is a pipe, not a file; {}", rules.ifPipe));
  }
  if (!S_ISREG(status.st_mode)) {
    refuse(path, "is not a plain file; give one that is");
  }
  if (status.st_size > static_cast<off_t>(rules.maxBytes)) {
    refuseAsTooBig(path, rules);
  }
}

// A file may grow while it is read: the bound holds for what comes, not for what was said.
std::string readBounded(const std::string& path, int fd, const InputRules& rules) {
  std::string content;
  char piece[16384];
  for (;;) {
    const ssize_t count = read(fd, piece, sizeof piece);
    if (count == -1 && errno == EINTR) {
      Interruption::check();
      continue;
    }
    if (count == -1) {
      refuseForErrno(path, errno);
    }
    if (count == 0) {
      return content;
    }
    content.append(piece, static_cast<std::size_t>(count));
    if (content.size() > rules.maxBytes) {
      refuseAsTooBig(path, rules);
    }
  }
}

}  // namespace

std::string inputName(const std::string& path) {
  return path == "-" ? "standard input" : fmt::format("'{}'", printableText(path));
}

std::string readPlainFile(const std::string& path, const InputRules& rules) {
  // Without O_NONBLOCK the open of a named pipe would wait for its writer.
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (file.get() == -1) {
    refuseForErrno(path, errno);
  }
  requirePlainFile(path, file.get(), rules);
  return readBounded(path, file.get(), rules);
}

std::string readInput(const std::string& path, const InputRules& rules) {
  return path == "-" ? readBounded(path, STDIN_FILENO, rules) : readPlainFile(path, rules);
}

std::string readInput(const std::string& path) {
  std::string content = readInput(path, chainRules);
  if (content.empty()) {
    refuse(path, "is empty; give a PEM, DER or PKCS#7 file with certificates");
  }
  return content;
}
