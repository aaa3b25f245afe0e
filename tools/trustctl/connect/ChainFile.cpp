#include "tools/trustctl/connect/ChainFile.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include <fmt/format.h>
#include <openssl/pem.h>

#include "services/common/OpenSslOwners.h"
#include "services/common/PrintableText.h"
#include "tools/trustctl/FileDescriptor.h"
#include "tools/trustctl/Interruption.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/WriteAll.h"

namespace {

[[noreturn]] void refuseToReplace(const std::string& path) {
  refuse(
      fmt::format("'{}' is there already and is not replaced; name another file with --save, or "
                  "remove it first",
                  printableText(path)));
}

[[noreturn]] void fail(const std::string& path, int error) {
  throw CommandError(ExitStatus::undecided,
                     fmt::format("cannot write '{}': {}; name another file with --save",
                                 printableText(path), std::generic_category().message(error)));
}

std::string pemOf(const std::vector<CertificateDer>& chain) {
  const BioPtr bio(BIO_new(BIO_s_mem()));
  for (const CertificateDer& der : chain) {
    if (bio == nullptr || PEM_write_bio(bio.get(), PEM_STRING_X509, "", der.data(),
                                        static_cast<long>(der.size())) <= 0) {
      throw std::runtime_error("a certificate cannot be written as PEM");
    }
  }
  char* text = nullptr;
  const long length = BIO_get_mem_data(bio.get(), &text);
  return {text, static_cast<std::size_t>(length)};
}

// 0 or an errno.
int writeWhole(const std::string& path, std::string_view text) {
  FileDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOCTTY | O_CLOEXEC, 0666));
  if (file.get() == -1) {
    return errno;
  }
  const int error = writeAll(file.get(), text);
  return error != 0 || fsync(file.get()) == 0 ? error : errno;
}

// Not every file system can refuse to replace; there the check made before has to do.
int moveToFree(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
    return 0;
  }
  if (errno != EINVAL && errno != ENOSYS) {
    return errno;
  }
  return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

}  // namespace

void requireNewFile(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) == 0) {
    refuseToReplace(path);
  }
  if (errno != ENOENT) {
    refuse(fmt::format("'{}' cannot be written: {}; name another file with --save",
                       printableText(path), std::generic_category().message(errno)));
  }
  const std::string directory = std::filesystem::path(path).parent_path().string();
  if (!directory.empty() && access(directory.c_str(), W_OK | X_OK) != 0) {
    refuse(fmt::format("no file can be made in '{}': {}; name another one with --save",
                       printableText(directory), std::generic_category().message(errno)));
  }
}

void writeChainFile(const std::string& path, const std::vector<CertificateDer>& chain) {
  const std::string pem = pemOf(chain);
  // Beside its place, as a name can only move within one file system.
  const std::string temporary = fmt::format("{}.{}.tmp", path, getpid());
  const InterruptionBlocker whole;  // a signal must not leave the temporary file
  requireNewFile(path);
  int error = writeWhole(temporary, pem);
  if (error == EEXIST) {
    fail(temporary, error);
  }
  if (error == 0) {
    error = moveToFree(temporary, path);
  }
  if (error != 0) {
    unlink(temporary.c_str());
  }
  if (error == EEXIST) {
    refuseToReplace(path);
  }
  if (error != 0) {
    fail(path, error);
  }
}
