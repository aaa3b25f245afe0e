#include "services/certmgr/ChainFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "platform/objects/ControlSocket.h"
#include "services/certmgr/path/Digest.h"
#include "services/common/FileSystem.h"

namespace {

[[noreturn]] void failBecause(const std::string& what, int error) {
  throw std::runtime_error(what + ": " + std::generic_category().message(error));
}

bool writeAll(int fd, const std::string& content) {
  std::size_t done = 0;
  while (done < content.size()) {
    const ssize_t written = ::write(fd, content.data() + done, content.size() - done);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    done += static_cast<std::size_t>(written);
  }
  return true;
}

}  // namespace

ChainDirectory::ChainDirectory(std::string directory) : directory_(std::move(directory)) {
  const int error = makeDirectories(directory_);
  if (error != 0) failBecause("cannot make the directory " + directory_, error);
  struct stat status = {};
  if (::stat(directory_.c_str(), &status) != 0 || status.st_uid != ::geteuid()) {
    throw std::runtime_error("the directory " + directory_ +
                             " belongs to another user, who could change what is in it; remove it");
  }
  // Clients of other users read here, whatever the umask of the service is.
  if (::chmod(directory_.c_str(), 0755) != 0) {
    failBecause("cannot set the mode of " + directory_, errno);
  }
  clear();
}

ChainDirectory::~ChainDirectory() {
  clear();
  ::rmdir(directory_.c_str());
}

void ChainDirectory::clear() const {
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(directory_, ignored)) {
    const auto extension = entry.path().extension();
    if (extension == ".der" || extension == ".tmp") ::unlink(entry.path().c_str());
  }
}

std::string ChainFiles::pathOf(const ParsedCertificate& certificate) {
  std::string path = directory_ + "/" + hexOf(certificate.fingerprint) + ".der";
  if (::access(path.c_str(), F_OK) == 0) return path;

  // Written aside and renamed, so that nobody ever sees half a file.
  const std::string temporary =
      path + "." + std::to_string(::getpid()) + "-" + std::to_string(temporaries_++) + ".tmp";
  const OwnedFd fd(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
  if (!fd) failBecause("cannot write " + temporary, errno);
  if (!writeAll(fd.get(), certificate.der) || ::fchmod(fd.get(), 0644) != 0 ||
      ::rename(temporary.c_str(), path.c_str()) != 0) {
    const int error = errno;
    ::unlink(temporary.c_str());
    failBecause("cannot write " + path, error);
  }
  return path;
}
