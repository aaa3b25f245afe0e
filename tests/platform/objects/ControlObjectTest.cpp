#include "platform/objects/ControlObject.h"

#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "platform/objects/ControlSocket.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

struct Name {
  const char* path;
  bool accepted;
};

class ControlObjectName : public testing::TestWithParam<Name> {};

TEST_P(ControlObjectName, IsAcceptedOnlyInItsOneForm) {
  setenv("PPS_RUNTIME_DIR", "/r", 1);
  char out[PATH_MAX];
  EXPECT_EQ(GetParam().accepted ? 0 : -1, controlSocketDirectory(GetParam().path, out, sizeof out));
}

INSTANTIATE_TEST_SUITE_P(Accepted, ControlObjectName,
                         testing::Values(Name{"/pps/services/certmgr/control", true},
                                         Name{"/pps/services/certmgr/control?wait", true},
                                         Name{"/pps/services/certmgr/control?", true},
                                         Name{"/pps/services/c/control?a/../b", true},
                                         Name{"/pps/services/.hidden/control", true},
                                         Name{"/pps/services/.../control", true}));
INSTANTIATE_TEST_SUITE_P(
    Refused, ControlObjectName,
    testing::Values(
        Name{"", false}, Name{"/pps", false}, Name{"/pps/services//control", false},
        Name{"/pps/services/./control", false}, Name{"/pps/services/../control", false},
        Name{"/pps/services/a/../b/control", false}, Name{"/pps/services/a?wait/control", false},
        Name{"/pps/services/a/b/control", false}, Name{"/pps/services/a/controls", false},
        Name{"/pps/services/a/control/", false}, Name{"/pps/services/a", false},
        Name{"pps/services/a/control", false}, Name{"/ppsx/services/a/control", false}));

TEST(ControlObject, NameOf255BytesIsTheLongest) {
  EXPECT_TRUE(isControlServiceName(std::string(255, 'a').data(), 255));
  EXPECT_FALSE(isControlServiceName(std::string(256, 'a').data(), 256));
}

TEST(ControlObject, OwnVariableGoesBeforeTheUsersRuntimeDirectory) {
  setenv("PPS_RUNTIME_DIR", "/own", 1);
  setenv("XDG_RUNTIME_DIR", "/users", 1);
  char out[PATH_MAX];
  ASSERT_EQ(0, controlSocketDirectory("/pps/services/a/control?wait", out, sizeof out));
  EXPECT_STREQ("/own/services/a", out);
}

TEST(ControlObject, UsersRuntimeDirectoryIsUsedWhenOwnVariableIsEmpty) {
  setenv("PPS_RUNTIME_DIR", "", 1);
  setenv("XDG_RUNTIME_DIR", "/users", 1);
  char out[PATH_MAX];
  ASSERT_EQ(0, controlRuntimeDirectory(out, sizeof out));
  EXPECT_STREQ("/users/pps", out);
}

TEST(ControlObject, RuntimeDirectoryDefaultsToRun) {
  unsetenv("PPS_RUNTIME_DIR");
  unsetenv("XDG_RUNTIME_DIR");
  char out[PATH_MAX];
  ASSERT_EQ(0, controlRuntimeDirectory(out, sizeof out));
  EXPECT_STREQ("/run/pps", out);
}

TEST(ControlObject, TooSmallBufferIsReportedAndNotOverrun) {
  setenv("PPS_RUNTIME_DIR", "/12345", 1);
  char out[8] = "xxxxxxx";
  errno = 0;
  EXPECT_EQ(-1, controlRuntimeDirectory(out, 6));
  EXPECT_EQ(ENAMETOOLONG, errno);
  EXPECT_EQ('x', out[6]);
}

TEST(ControlObject, AbsentServiceIsAMissingFile) {
  const TemporaryDirectory runtime;
  setenv("PPS_RUNTIME_DIR", runtime.path().c_str(), 1);
  EXPECT_EQ(-1, openControlObject("/pps/services/nobody/control?wait"));
  EXPECT_EQ(ENOENT, errno);
}

TEST(ControlObject, SocketOfADeadServiceIsAMissingFile) {
  const TemporaryDirectory runtime;
  setenv("PPS_RUNTIME_DIR", runtime.path().c_str(), 1);
  runtime.write("services/dead/x", "");
  const int fd = socket(AF_UNIX, SOCK_SEQPACKET, 0);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  strncpy(address.sun_path, runtime.path("services/dead/control").c_str(),
          sizeof address.sun_path - 1);
  ASSERT_EQ(0, bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
  close(fd);

  EXPECT_EQ(-1, openControlObject("/pps/services/dead/control?wait"));
  EXPECT_EQ(ENOENT, errno);
}

TEST(ControlObject, DescriptorClosesOnExecExactlyWhenAsked) {
  const TemporaryDirectory runtime;
  setenv("PPS_RUNTIME_DIR", runtime.path().c_str(), 1);
  const ControlSocket listener = ControlSocket::listen(runtime.path(), "a", 0666, 4);
  const OwnedFd plain(openControlObject("/pps/services/a/control", O_RDWR));
  const OwnedFd closing(openControlObject("/pps/services/a/control", O_RDWR | O_CLOEXEC));
  EXPECT_EQ(0, fcntl(plain.get(), F_GETFD));
  EXPECT_EQ(FD_CLOEXEC, fcntl(closing.get(), F_GETFD));
}

TEST(ControlObject, DescriptorBlocksUnlessAskedOtherwise) {
  const TemporaryDirectory runtime;
  setenv("PPS_RUNTIME_DIR", runtime.path().c_str(), 1);
  const ControlSocket listener = ControlSocket::listen(runtime.path(), "a", 0666, 4);
  const OwnedFd plain(openControlObject("/pps/services/a/control", O_RDWR));
  const OwnedFd eager(openControlObject("/pps/services/a/control", O_RDWR | O_NONBLOCK));
  EXPECT_EQ(0, fcntl(plain.get(), F_GETFL) & O_NONBLOCK);
  EXPECT_NE(0, fcntl(eager.get(), F_GETFL) & O_NONBLOCK);
}

TEST(ControlObject, FullQueueIsRefusedInsteadOfWaitedFor) {
  const TemporaryDirectory runtime;
  setenv("PPS_RUNTIME_DIR", runtime.path().c_str(), 1);
  const ControlSocket listener = ControlSocket::listen(runtime.path(), "a", 0666, 0);
  const OwnedFd first(openControlObject("/pps/services/a/control"));
  ASSERT_TRUE(first);
  EXPECT_EQ(-1, openControlObject("/pps/services/a/control"));
  EXPECT_EQ(EAGAIN, errno);
}

TEST(ControlObject, RuntimeDirectoryLongerThanASocketAddressWorks) {
  const TemporaryDirectory base;
  const std::string runtime = base.path(std::string(120, 'd'));
  setenv("PPS_RUNTIME_DIR", runtime.c_str(), 1);
  const ControlSocket listener = ControlSocket::listen(runtime, "a", 0666, 4);
  EXPECT_TRUE(OwnedFd(openControlObject("/pps/services/a/control?wait")));
}

TEST(ControlObject, WritingToAServiceThatDiedFails) {
  // Where the transport raises SIGPIPE is a matter of the kernel; a client must know.
  const TemporaryDirectory runtime;
  setenv("PPS_RUNTIME_DIR", runtime.path().c_str(), 1);
  (void)std::signal(SIGPIPE, SIG_DFL);
  OwnedFd client;
  {
    const ControlSocket listener = ControlSocket::listen(runtime.path(), "a", 0666, 4);
    client = OwnedFd(openControlObject("/pps/services/a/control"));
    ASSERT_TRUE(client);
    close(accept(listener.fd(), nullptr, nullptr));
  }
  EXPECT_EQ(-1, write(client.get(), "x", 1));
  EXPECT_EQ(EPIPE, errno);
}

}  // namespace
