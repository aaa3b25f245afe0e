// What holds while others change the store.

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/exceptions/ExceptionsFixture.h"
#include "tools/trustctl/exceptions/StoreWriter.h"

namespace fs = std::filesystem;

namespace {

class ExceptionsSafety : public ExceptionsTest {
 protected:
  void placeFamily(std::size_t first, std::size_t last) {
    for (std::size_t i = first; i < last; ++i) {
      place(family_[i], static_cast<int>(i));
    }
  }

  std::string lockFile() const { return store_ + "/.trustctl.lock"; }

  std::vector<ExceptionRecord> family_ = recordsOfOneHash(10);
};

TEST_F(ExceptionsSafety, TwoWritersAtOnceLoseNothing) {
  placeFamily(0, 8);
  // Each run in this process's world has one pair of output files; what is said does not matter.
  const pid_t first = start(commandLine({"remove", "--yes", "a", "abc", "abcde"}));
  const pid_t second = start(commandLine({"remove", "--yes", "ab", "abcd", "abcdef"}));
  EXPECT_EQ(0, finish(first).status);
  EXPECT_EQ(0, finish(second).status);
  EXPECT_EQ(2U, countFound(store_, {family_[6], family_[7]}));
  EXPECT_THAT(entriesOf(store_), testing::SizeIs(2));
}

TEST_F(ExceptionsSafety, WritersInOneProcessTakeTurnsAndLoseNothing) {
  const auto addEverySecond = [this](std::size_t from) {
    for (std::size_t i = from; i < 10; i += 2) {
      StoreWriter(store_).add(family_[i]);
    }
  };
  std::thread other(addEverySecond, 1);
  addEverySecond(0);
  other.join();
  EXPECT_EQ(10U, countFound(store_, family_));
}

TEST_F(ExceptionsSafety, LibraryThatAddsWhileTheToolRemovesLosesNothing) {
  placeFamily(0, 5);
  const pid_t tool = start(commandLine({"remove", "--yes", "a", "ab", "abcd"}));
  std::thread library([this] {
    for (std::size_t i = 5; i < 9; ++i) {
      libraryAdds(store_, family_[i]);
    }
  });
  library.join();
  EXPECT_EQ(0, finish(tool).status);
  // A library that looked before a number became free may have gone past it: that is mended.
  EXPECT_EQ(0, exceptions({"doctor", "--repair"}).status);
  EXPECT_EQ(6U, countFound(store_, {family_[2], family_[4], family_[5], family_[6], family_[7],
                                    family_[8]}));
}

TEST_F(ExceptionsSafety, WaitForAnotherRunEndsWithASignal) {
  placeFamily(0, 1);
  const int lock = open(lockFile().c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_EQ(0, flock(lock, LOCK_EX));
  const pid_t child = start(commandLine({"remove", "--yes", "a"}));
  // Once it has the file open there is nothing left for it to do but to wait.
  const auto isWaiting = [this, child] {
    std::error_code gone;
    const fs::path link = fs::path("/proc") / std::to_string(child) / "fd";
    for (const auto& entry : fs::directory_iterator(link, gone)) {
      std::error_code ignored;
      if (fs::read_symlink(entry.path(), ignored) == lockFile()) {
        return true;
      }
    }
    return false;
  };
  while (!isWaiting()) {
    sched_yield();
  }
  kill(child, SIGTERM);
  EXPECT_EQ(-SIGTERM, finish(child).status);
  EXPECT_TRUE(libraryFinds(store_, family_[0]));
  close(lock);
}

}  // namespace
