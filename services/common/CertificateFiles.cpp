#include "services/common/CertificateFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#ifdef SYS_openat2
#include <linux/openat2.h>
#endif

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <openssl/err.h>

namespace {

constexpr std::size_t kMaxCertificateBytes = 64 * 1024;

[[noreturn]] void fail(const std::string& path, const std::string& reason) {
  throw std::runtime_error("cannot use the file " + path + ": " + reason);
}

[[noreturn]] void failBecause(const std::string& path, int error) {
  fail(path, std::generic_category().message(error));
}

// With the flag that 32-bit systems want for files of any size: open() knows it of itself, a bare
// system call does not.
constexpr int kOpenFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | O_LARGEFILE;

// Follows symbolic links, but not those that the system makes up for what a process has open or
// stands in: they lead past folders that are closed to whoever named the path, and this process
// may follow more of them than he may. A system too old for that follows them.
OwnedFd openNamed(const std::string& path) {
#ifdef SYS_openat2
  open_how how = {};
  how.flags = kOpenFlags;
  how.resolve = RESOLVE_NO_MAGICLINKS;
  OwnedFd fd(static_cast<int>(syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how)));
  if (fd || errno != ENOSYS) return fd;
#endif
  return OwnedFd(::open(path.c_str(), kOpenFlags));
}

std::string readFile(const OwnedFd& fd, const std::string& path, std::size_t maxBytes,
                     const uid_t* owner) {
  if (!fd) failBecause(path, errno);
  struct stat status = {};
  if (::fstat(fd.get(), &status) != 0) failBecause(path, errno);
  if (!S_ISREG(status.st_mode)) fail(path, "it is not a plain file");
  if (owner != nullptr && status.st_uid != *owner) fail(path, "it belongs to another user");

  std::string content;
  char part[16 * 1024];
  for (;;) {
    const ssize_t length = ::read(fd.get(), part, sizeof part);
    if (length == 0) return content;
    if (length < 0 && errno == EINTR) continue;
    if (length < 0) failBecause(path, errno);
    content.append(part, static_cast<std::size_t>(length));
    if (content.size() > maxBytes) {
      fail(path, "it is longer than " + std::to_string(maxBytes) + " bytes");
    }
  }
}

void requireCertificate(const std::string& path, const std::string& der) {
  const auto* begin = reinterpret_cast<const unsigned char*>(der.data());
  const unsigned char* at = begin;
  const X509Ptr certificate(d2i_X509(nullptr, &at, static_cast<long>(der.size())));
  ERR_clear_error();
  if (certificate == nullptr) fail(path, "it holds no DER certificate");
  if (at != begin + der.size()) fail(path, "there are bytes after its certificate");
}

}  // namespace

std::string readPlainFile(const std::string& path, std::size_t maxBytes) {
  return readFile(OwnedFd(::open(path.c_str(), kOpenFlags)), path, maxBytes, nullptr);
}

std::string readOwnedFile(const std::string& path, std::size_t maxBytes, uid_t owner) {
  const OwnedFd fd(::open(path.c_str(), kOpenFlags | O_NOFOLLOW));
  return readFile(fd, path, maxBytes, &owner);
}

std::string readCertificateFile(const std::string& path) {
  if (path.empty() || path.front() != '/') fail(path, "the path is not absolute");
  return readFile(openNamed(path), path, kMaxCertificateBytes, nullptr);
}

std::string readCertificateFile(const OwnedFd& file, const std::string& path) {
  return readFile(file, path, kMaxCertificateBytes, nullptr);
}

CertificateDer readCertificateBytes(const std::string& path) {
  const std::string der = readCertificateFile(path);
  requireCertificate(path, der);
  return {der.begin(), der.end()};
}

std::string derOf(X509* certificate) {
  const int length = i2d_X509(certificate, nullptr);
  if (length <= 0) throw std::runtime_error("a certificate cannot be encoded");
  std::string der(static_cast<std::size_t>(length), '\0');
  auto* out = reinterpret_cast<unsigned char*>(der.data());
  i2d_X509(certificate, &out);
  return der;
}
