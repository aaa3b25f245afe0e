// What holds while others change the store.

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SendSignal.h"
#include "tests/tools/exceptions/ExchangeFixture.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/exceptions/StillStore.h"
#include "tools/trustctl/exceptions/StoreWriter.h"

namespace fs = std::filesystem;

namespace {

class ExceptionsSafety : public ExchangeTest {
 protected:
  void placeFamily(std::size_t first, std::size_t last) {
    for (std::size_t i = first; i < last; ++i) {
      place(family_[i], static_cast<int>(i));
    }
  }

  std::string lockFile() const { return store_ + "/.trustctl.lock"; }

  // What a run that changes the store holds; close() ends it. By another name of the file, as what
  // a run inherits until it begins must not look like its own.
  int lockStore() const {
    const std::string otherName = directory_.path("lock");
    std::ofstream(lockFile(), std::ios::app).flush();
    fs::remove(otherName);
    fs::create_hard_link(lockFile(), otherName);
    const int lock = open(otherName.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(0, flock(lock, LOCK_EX));
    return lock;
  }

  // Until the run has the lock's file open, when there is nothing left for it to do but to wait;
  // or until it has ended.
  void awaitLockOrEnd(pid_t run) const {
    siginfo_t ended = {};
    while (!hasOpen(run, lockFile()) && ended.si_pid == 0) {
      sched_yield();
      waitid(P_PID, static_cast<id_t>(run), &ended, WEXITED | WNOHANG | WNOWAIT);
    }
  }

  // A run that finds the store locked while the last decision of a hash, of the domain "ab", takes
  // the place of one that goes: its own name leads nowhere then.
  ProgramRun whileMoved(const std::vector<std::string>& words) {
    const std::string removed = store_ + "/" + place(family_[0], 0);
    const std::string moved = store_ + "/" + place(family_[1], 1);
    const int lock = lockStore();
    const std::string between = directory_.path("between");
    fs::rename(moved, between);
    const pid_t reader = start(commandLine(words));
    awaitLockOrEnd(reader);
    fs::rename(between, removed);
    close(lock);
    return finish(reader);
  }

  std::vector<ExceptionRecord> family_ = recordsOfOneHash(10);

 private:
  static bool hasOpen(pid_t run, const std::string& path) {
    std::error_code gone;
    const fs::path files = fs::path("/proc") / std::to_string(run) / "fd";
    for (const auto& entry : fs::directory_iterator(files, gone)) {
      std::error_code ignored;
      if (fs::read_symlink(entry.path(), ignored) == path) {
        return true;
      }
    }
    return false;
  }
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

TEST_F(ExceptionsSafety, DecisionThatAnotherRunMovesIsFound) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"remove", "--yes", "ab"}, {"show", "ab"}, {"list"}}) {
    const ProgramRun run = whileMoved(words);
    EXPECT_EQ(0, run.status) << words.front() << ": " << run.err;
    EXPECT_THAT(run.out, testing::HasSubstr("ab")) << words.front();
  }
}

TEST_F(ExceptionsSafety, DecisionThatAnotherRunMovesIsCounted) {
  family_[1].expires = 0;
  const std::string document = directory_.write("document", documentOf({family_[1]}));
  for (const std::vector<std::string>& words : {std::vector<std::string>{"export", "-"},
                                                {"prune", "--expired", "--dry-run"},
                                                {"import", "--dry-run", document}}) {
    const std::string told = whileMoved(words).out;
    EXPECT_EQ(exceptions(words).out, told) << words.front();
  }
  EXPECT_EQ(0, whileMoved({"export", directory_.path("new")}).status);
  EXPECT_EQ(documentOf({family_[1]}), readFile(directory_.path("new")));
}

TEST_F(ExceptionsSafety, ExportThatNobodyReadsKeepsNobodyWaiting) {
  constexpr std::size_t morePipesHold = std::size_t{2} * 1024 * 1024;
  const ExceptionRecord large = plainRecord("a.test", std::string(morePipesHold, 'x'));
  place(large);
  placeFamily(0, 1);
  const std::string pipe = directory_.path("pipe");
  ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
  const pid_t writer = start(commandLine({"export", "-"}), "", pipe);
  std::ifstream reader(pipe);
  const int first = reader.get();  // it is writing now
  EXPECT_EQ(0, exceptions({"remove", "--yes", "a"}).status);
  const std::string rest{std::istreambuf_iterator<char>(reader), {}};
  EXPECT_EQ(0, finish(writer).status);
  EXPECT_EQ(documentOf({family_[0], large}), static_cast<char>(first) + rest);
}

TEST_F(ExceptionsSafety, LookBeganBeforeTheFirstChangeOfAllIsRepeated) {
  placeFamily(0, 2);
  int looks = 0;
  whileStill(ExceptionStore(store_), [&] {
    if (++looks == 1) StoreWriter(store_).add(family_[2]);
  });
  EXPECT_EQ(2, looks);
}

TEST_F(ExceptionsSafety, LookThatFailedDuringTheFirstChangeOfAllIsRepeated) {
  placeFamily(0, 2);
  int looks = 0;
  whileStill(ExceptionStore(store_), [&] {
    if (++looks == 1) {
      StoreWriter(store_).add(family_[2]);
      throw CommandError(ExitStatus::undecided, "gone");
    }
  });
  EXPECT_EQ(2, looks);
}

TEST_F(ExceptionsSafety, LookThatFailsInAStillStoreFails) {
  placeFamily(0, 2);
  const auto look = [] { throw CommandError(ExitStatus::undecided, "broken"); };
  EXPECT_THROW(whileStill(ExceptionStore(store_), look), CommandError);
}

TEST_F(ExceptionsSafety, WaitForAnotherRunEndsWithASignal) {
  placeFamily(0, 1);
  const int lock = lockStore();
  const pid_t child = start(commandLine({"remove", "--yes", "a"}));
  awaitLockOrEnd(child);
  sendSignal(child, SIGTERM);
  EXPECT_EQ(-SIGTERM, finish(child).status);
  EXPECT_TRUE(libraryFinds(store_, family_[0]));
  close(lock);
}

}  // namespace
