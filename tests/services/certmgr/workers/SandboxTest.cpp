#include "services/certmgr/workers/Sandbox.h"

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/TemporaryDirectory.h"

namespace {

class SandboxTest : public testing::Test {
 protected:
  static constexpr int kNotOffered = 77;

  // The error number of `action` in a process with the sandbox; 0 where it succeeds.
  int errorInSandbox(const std::function<bool()>& action, bool removesElsewhere = false) const {
    const pid_t child = fork();
    if (child == 0) {
      const SandboxNeeds needs = {files_.path(), removesElsewhere};
      if (!enterSandbox(needs).empty()) _exit(kNotOffered);
      errno = 0;
      _exit(action() ? 0 : errno);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  void SetUp() override {
    if (errorInSandbox([] { return true; }) == kNotOffered) GTEST_SKIP() << "no such kernel";
  }

  static bool canOpen(const std::string& path, int flags) {
    return open(path.c_str(), flags | O_CLOEXEC, 0600) != -1;
  }

  TemporaryDirectory files_;
  TemporaryDirectory elsewhere_;
};

TEST_F(SandboxTest, FilesCanBeRead) {
  const std::string file = elsewhere_.write("file", "content");
  EXPECT_EQ(0, errorInSandbox([&] { return canOpen(file, O_RDONLY); }));
}

TEST_F(SandboxTest, FilesElsewhereCannotBeWritten) {
  const std::string file = elsewhere_.write("file", "content");
  EXPECT_EQ(EACCES, errorInSandbox([&] { return canOpen(file, O_WRONLY); }));
}

TEST_F(SandboxTest, FilesElsewhereCannotBeMade) {
  EXPECT_EQ(EACCES,
            errorInSandbox([&] { return canOpen(elsewhere_.path("file"), O_WRONLY | O_CREAT); }));
}

TEST_F(SandboxTest, FilesElsewhereCannotBeRemoved) {
  const std::string file = elsewhere_.write("file", "content");
  EXPECT_EQ(EACCES, errorInSandbox([&] { return unlink(file.c_str()) == 0; }));
}

TEST_F(SandboxTest, WhoHasToRemoveElsewhereCan) {
  const std::string file = elsewhere_.write("file", "content");
  EXPECT_EQ(0, errorInSandbox([&] { return unlink(file.c_str()) == 0; }, true));
}

TEST_F(SandboxTest, FilesOfItsDirectoryCanBeMadeAndRenamed) {
  EXPECT_EQ(0, errorInSandbox([&] {
              return canOpen(files_.path("a"), O_WRONLY | O_CREAT) &&
                     rename(files_.path("a").c_str(), files_.path("b").c_str()) == 0;
            }));
}

TEST_F(SandboxTest, ProgramsCannotBeStarted) {
  EXPECT_EQ(EPERM, errorInSandbox([] { return execl("/bin/true", "true", nullptr) == 0; }));
}

TEST_F(SandboxTest, NetworkSocketsCannotBeMade) {
  EXPECT_EQ(EPERM,
            errorInSandbox([] { return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0) != -1; }));
}

TEST_F(SandboxTest, LocalSocketsCanBeMade) {
  EXPECT_EQ(0, errorInSandbox([] { return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0) != -1; }));
}

TEST_F(SandboxTest, NameSpacesCannotBeLeft) {
  EXPECT_EQ(EPERM, errorInSandbox([] { return unshare(CLONE_NEWNS) == 0; }));
}

}  // namespace
