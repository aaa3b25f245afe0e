// Storing a decision while the world ends: the process killed at every call to the system, and
// a disk that gives out. A program of its own, since it stands between the library and those
// calls.

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Throws.h"
#include "tests/trustlib/Chains.h"
#include "trustlib/CertificateExceptionImpl.h"
#include "trustlib/FileCertificateExceptionStore.h"

namespace fs = std::filesystem;

namespace {

constexpr std::size_t shortWrite = 16;  // so that a record takes several

int callsToLive = -1;  // negative: forever
bool writesShort = false;
int writeError = 0;
int syncError = 0;
int linkError = 0;

void callSystem() {
  if (callsToLive >= 0 && callsToLive-- == 0) {
    kill(getpid(), SIGKILL);
  }
}

int fails(int error) {
  errno = error;
  return -1;
}

}  // namespace

#define STANDS_BETWEEN extern "C" __attribute__((visibility("default")))

STANDS_BETWEEN ssize_t write(int fd, const void* data, size_t length) {
  callSystem();
  if (writeError != 0 && fd > STDERR_FILENO) {
    return fails(writeError);
  }
  return syscall(SYS_write, fd, data, writesShort ? std::min(length, shortWrite) : length);
}

STANDS_BETWEEN int fsync(int fd) {
  callSystem();
  return syncError != 0 ? fails(syncError) : static_cast<int>(syscall(SYS_fsync, fd));
}

STANDS_BETWEEN int close(int fd) {
  callSystem();
  return static_cast<int>(syscall(SYS_close, fd));
}

STANDS_BETWEEN int link(const char* from, const char* to) noexcept {
  callSystem();
  return linkError != 0 ? fails(linkError)
                        : static_cast<int>(syscall(SYS_linkat, AT_FDCWD, from, AT_FDCWD, to, 0));
}

STANDS_BETWEEN int unlink(const char* path) noexcept {
  callSystem();
  return static_cast<int>(syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}

STANDS_BETWEEN int rename(const char* from, const char* to) noexcept {
  callSystem();
  return static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

class StoredDecision : public testing::Test {
 protected:
  static std::unique_ptr<CertificateExceptionImpl> record(const std::string& der) {
    const std::string domain("host.test");
    Chain chain{der};
    return std::make_unique<CertificateExceptionImpl>(4, &domain, chain.list());
  }

  // Runs the body in a process of its own; its wait status.
  static int statusOf(const std::function<void()>& body) {
    const pid_t child = fork();
    if (child == 0) {
      body();
      _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status;
  }

  std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(directory)) {
      found.push_back(entry.path().filename());
    }
    return found;
  }

  std::vector<std::string> records() const {
    std::vector<std::string> found;
    for (const std::string& name : names()) {
      if (fs::path(name).extension() == ".json") {
        found.push_back(name);
      }
    }
    return found;
  }

  TemporaryDirectory world;
  std::string directory = world.path("store");
  FileCertificateExceptionStore store{&directory};
  std::unique_ptr<CertificateExceptionImpl> wanted = record("leaf of the new decision");
};

TEST_F(StoredDecision, IsThereWholeOrNotAtAllWhereverItsWriterIsKilled) {
  int killed = 0;
  int seen = 0;
  for (bool done = false; !done; ++killed) {
    const int status = statusOf([&] {
      writesShort = true;
      callsToLive = killed;
      store.addException(wanted.get());
    });
    done = WIFEXITED(status);
    ASSERT_TRUE(done || WTERMSIG(status) == SIGKILL);
    seen += store.exceptionExists(wanted.get()) ? 1 : 0;  // throws where a part is there
    EXPECT_EQ(store.exceptionExists(wanted.get()) ? 1U : 0U, records().size());
    store.clear();
  }
  // Every write, the sync, both names and the closing were met, some before and some after.
  EXPECT_GT(killed, 8);
  EXPECT_GT(seen, 1);
  EXPECT_LT(seen, killed);
}

TEST_F(StoredDecision, IsNotHarmedByTheNextWriterBeingKilled) {
  const auto earlier = record("earlier");
  store.addException(earlier.get());
  for (int calls = 0; calls < 12; ++calls) {
    statusOf([&] {
      callsToLive = calls;
      store.addException(wanted.get());
    });
    EXPECT_TRUE(store.exceptionExists(earlier.get()));
  }
}

TEST_F(StoredDecision, IsAddedAfterAWriterWasKilledBeforeItWasThere) {
  statusOf([&] {
    callsToLive = 1;
    store.addException(wanted.get());
  });
  EXPECT_THAT(records(), IsEmpty());
  EXPECT_TRUE(store.addException(wanted.get()));
  EXPECT_TRUE(store.exceptionExists(wanted.get()));
}

TEST_F(StoredDecision, ThatFindsTheDiskFullIsReportedAndLeavesNothing) {
  writeError = ENOSPC;
  EXPECT_THROWS(store.addException(wanted.get()), TrustManagerException,
                "FileUtilities::write - failed to write file: No space left on device");
  writeError = 0;
  EXPECT_THAT(names(), IsEmpty());
  EXPECT_TRUE(store.addException(wanted.get()));
}

TEST_F(StoredDecision, ThatCannotBeMadeDurableIsReportedAndLeavesNothing) {
  syncError = EIO;
  EXPECT_THROWS(store.addException(wanted.get()), TrustManagerException,
                "FileUtilities::write - failed to write file: Input/output error");
  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(StoredDecision, ThatPassesTheFileSizeLimitIsReportedAndLeavesNothing) {
  const int status = statusOf([&] {
    (void)signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {20, 20};
    setrlimit(RLIMIT_FSIZE, &limit);
    try {
      store.addException(wanted.get());
    } catch (const TrustManagerException&) {
      _exit(7);
    }
  });
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7);
  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(StoredDecision, IsNotThereWhenTheFileSizeLimitKillsItsWriter) {
  const int status = statusOf([&] {
    (void)signal(SIGXFSZ, SIG_DFL);
    const rlimit limit = {20, 20};
    setrlimit(RLIMIT_FSIZE, &limit);
    store.addException(wanted.get());
  });
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_THAT(records(), IsEmpty());
  EXPECT_TRUE(store.addException(wanted.get()));
}

TEST_F(StoredDecision, IsMovedIntoPlaceWhereThereAreNoLinks) {
  linkError = EPERM;
  EXPECT_TRUE(store.addException(wanted.get()));
  EXPECT_THAT(names(), ElementsAre(EndsWith("_0.json")));
  EXPECT_TRUE(store.exceptionExists(wanted.get()));
}

TEST_F(StoredDecision, ThatCannotBeGivenItsNameIsReportedAndLeavesNothing) {
  linkError = EACCES;
  EXPECT_THROWS(store.addException(wanted.get()), TrustManagerException,
                "FileUtilities::write - failed to write file: Permission denied");
  EXPECT_THAT(names(), IsEmpty());
}

}  // namespace
