#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/objects/ControlServer.h"
#include "platform/objects/ControlSocket.h"
#include "tests/support/TemporaryDirectory.h"

// The shim under the names that only it has: open() itself may be the sanitizer's.
extern "C" int __wrap_open(const char* path, int flags, ...);    // NOLINT: the linker's names
extern "C" int __wrap_open64(const char* path, int flags, ...);  // NOLINT: the linker's names

namespace {

struct Outcome {
  int status;
  std::string output;
};

// Runs the helper program, which only knows open, write and read, under the shim.
Outcome runPreloaded(const std::string& path, const std::string& request) {
  const std::string command =
      "LD_PRELOAD='" PPSOPEN_LIBRARY "' '" OPEN_HELPER "' '" + path + "' '" + request + "'";
  FILE* pipe = popen(command.c_str(), "r");  // NOLINT(cert-env33-c): fixed program, own arguments
  Outcome outcome{-1, ""};
  char part[256];
  while (pipe != nullptr && fgets(part, sizeof part, pipe) != nullptr) outcome.output += part;
  if (pipe != nullptr) outcome.status = WEXITSTATUS(pclose(pipe));
  return outcome;
}

TEST(OpenShim, PreloadedProgramTalksToAService) {
  const TemporaryDirectory runtime;
  setenv("PPS_RUNTIME_DIR", runtime.path().c_str(), 1);
  ControlServerOptions options;
  options.service = "x";
  ControlServer server(options, [](const ControlRequest& r) { return "got " + r.text; });
  std::thread thread([&] { server.run(false); });
  const Outcome outcome = runPreloaded("/pps/services/x/control?wait", "hello");
  server.stop();
  thread.join();
  EXPECT_EQ(0, outcome.status);
  EXPECT_EQ("got hello\n", outcome.output);
}

TEST(OpenShim, PreloadedProgramSeesAMissingFileWithoutAService) {
  const TemporaryDirectory runtime;
  setenv("PPS_RUNTIME_DIR", runtime.path().c_str(), 1);
  EXPECT_EQ("errno " + std::to_string(ENOENT) + "\n",
            runPreloaded("/pps/services/x/control?wait", "hello").output);
}

TEST(OpenShim, CreatingAFileKeepsItsMode) {
  const TemporaryDirectory directory;
  const mode_t before = umask(0);
  const OwnedFd fd(__wrap_open(directory.path("new").c_str(), O_CREAT | O_EXCL | O_RDWR, 0640));
  umask(before);
  struct stat status = {};
  ASSERT_EQ(0, fstat(fd.get(), &status));
  EXPECT_EQ(0640U, status.st_mode & 07777);
}

TEST(OpenShim, ExclusiveCreationStillRefusesAnExistingFile) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("old", "x");
  EXPECT_EQ(-1, __wrap_open64(path.c_str(), O_CREAT | O_EXCL | O_RDWR, 0600));
  EXPECT_EQ(EEXIST, errno);
}

TEST(OpenShim, UnnamedFileTakesItsMode) {
  const TemporaryDirectory directory;
  const mode_t before = umask(0);
  const OwnedFd fd(__wrap_open(directory.path().c_str(), O_TMPFILE | O_RDWR, 0604));
  umask(before);
  if (!fd && errno == EOPNOTSUPP) GTEST_SKIP() << "this file system has no unnamed files";
  struct stat status = {};
  ASSERT_EQ(0, fstat(fd.get(), &status));
  EXPECT_EQ(0604U, status.st_mode & 07777);
}

TEST(OpenShim, MissingFileElsewhereIsReportedAsEver) {
  EXPECT_EQ(-1, __wrap_open("/nonexistent/pps/services/x/control", O_RDWR));
  EXPECT_EQ(ENOENT, errno);
}

TEST(OpenShim, SuccessLeavesErrnoAlone) {
  const TemporaryDirectory runtime;
  setenv("PPS_RUNTIME_DIR", runtime.path().c_str(), 1);
  const ControlSocket listener = ControlSocket::listen(runtime.path(), "a", 0666, 4);
  errno = 42;
  const OwnedFd fd(__wrap_open("/pps/services/a/control?wait", O_RDWR));
  EXPECT_TRUE(fd);
  EXPECT_EQ(42, errno);
}

TEST(OpenShim, DirectoryIsNotLookedForAmongObjects) {
  const TemporaryDirectory runtime;
  setenv("PPS_RUNTIME_DIR", runtime.path().c_str(), 1);
  const ControlSocket listener = ControlSocket::listen(runtime.path(), "a", 0666, 4);
  EXPECT_EQ(-1, __wrap_open("/pps/services/a/control", O_RDONLY | O_DIRECTORY));
  EXPECT_EQ(ENOENT, errno);
}

}  // namespace
