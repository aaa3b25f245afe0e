#include "services/common/CertificateFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

#include <gtest/gtest.h>

#include "platform/objects/ControlSocket.h"
#include "tests/support/CertificateMaker.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

// Whether the system can open a path without following links that it makes up itself.
bool tellsMadeUpLinks() {
#ifdef SYS_openat2
  return syscall(SYS_openat2, -1, nullptr, nullptr, 0) == -1 && errno != ENOSYS;
#else
  return false;
#endif
}

TEST(ReadOwnedFile, GivesAFileOfTheOwner) {
  const TemporaryDirectory directory;
  EXPECT_EQ("text", readOwnedFile(directory.write("f", "text"), 4, ::geteuid()));
}

TEST(ReadOwnedFile, RefusesAFileThatIsTooLong) {
  const TemporaryDirectory directory;
  EXPECT_THROW(readOwnedFile(directory.write("f", "text"), 3, ::geteuid()), std::runtime_error);
}

TEST(ReadOwnedFile, RefusesAFileOfAnotherUser) {
  const TemporaryDirectory directory;
  EXPECT_THROW(readOwnedFile(directory.write("f", "text"), 4, ::geteuid() + 1), std::runtime_error);
}

TEST(ReadOwnedFile, RefusesALink) {
  const TemporaryDirectory directory;
  const std::string link = directory.path("link");
  ASSERT_EQ(0, ::symlink(directory.write("f", "text").c_str(), link.c_str()));
  EXPECT_THROW(readOwnedFile(link, 4, ::geteuid()), std::runtime_error);
}

TEST(ReadOwnedFile, RefusesAPipeWithoutWaiting) {
  const TemporaryDirectory directory;
  const std::string pipe = directory.path("pipe");
  ASSERT_EQ(0, ::mkfifo(pipe.c_str(), 0600));
  EXPECT_THROW(readOwnedFile(pipe, 4, ::geteuid()), std::runtime_error);
}

TEST(ReadPlainFile, FollowsALink) {
  const TemporaryDirectory directory;
  const std::string link = directory.path("link");
  ASSERT_EQ(0, ::symlink(directory.write("f", "text").c_str(), link.c_str()));
  EXPECT_EQ("text", readPlainFile(link, 4));
}

TEST(ReadCertificateBytes, FollowsALink) {
  const TemporaryDirectory directory;
  const TestCertificate certificate = CertificateMaker("a.example").make();
  const std::string link = directory.path("link");
  ASSERT_EQ(0, ::symlink(directory.write("f", certificate.derString()).c_str(), link.c_str()));
  EXPECT_EQ(certificate.der(), readCertificateBytes(link));
}

TEST(ReadCertificateBytes, RefusesWhatTheReadingProcessItselfHasOpen) {
  if (!tellsMadeUpLinks()) GTEST_SKIP() << "this kernel or emulator is too old";
  const TemporaryDirectory directory;
  const std::string path = directory.write("f", CertificateMaker("a.example").make().derString());
  const OwnedFd held(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_THROW(readCertificateBytes("/proc/self/fd/" + std::to_string(held.get())),
               std::runtime_error);
}

TEST(ReadCertificateBytes, RefusesWhatLiesBelowTheReadingProcesssOwnFolder) {
  if (!tellsMadeUpLinks()) GTEST_SKIP() << "this kernel or emulator is too old";
  const TemporaryDirectory directory;
  const std::string path = directory.write("f", CertificateMaker("a.example").make().derString());
  EXPECT_THROW(readCertificateBytes("/proc/self/root" + path), std::runtime_error);
}

}  // namespace
