// What holds while others change the store, and when a run is killed.

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/exceptions/ExceptionsFixture.h"
#include "tools/trustctl/exceptions/Diagnosis.h"
#include "tools/trustctl/exceptions/RecordName.h"
#include "tools/trustctl/exceptions/StoreWriter.h"

namespace fs = std::filesystem;

namespace {

using testing::IsEmpty;
using Clock = std::chrono::steady_clock;

class ExceptionsSafety : public ExceptionsTest {
 protected:
  void placeFamily(std::size_t first, std::size_t last) {
    for (std::size_t i = first; i < last; ++i) {
      place(family_[i], static_cast<int>(i));
    }
  }

  // All that doctor finds but notes, found in this process to save time.
  std::vector<std::string> findings() const {
    const ExceptionStore store(store_);
    std::vector<std::string> found;
    for (const Finding& finding : Diagnosis(store).examineAll()) {
      if (!isNote(finding)) {
        found.push_back(finding.entry + " " + problemWord(finding.problem));
      }
    }
    return found;
  }

  // How many of the records stand in the store, wherever the library looks for them.
  std::size_t countStored(const std::vector<ExceptionRecord>& records) const {
    const ExceptionStore store(store_);
    std::vector<ExceptionRecord> stored;
    for (const std::string& name : store.fileNames()) {
      try {
        stored.push_back(store.read(name));
      } catch (const std::runtime_error&) {
        continue;  // broken on purpose
      }
    }
    return static_cast<std::size_t>(
        std::count_if(records.begin(), records.end(), [&stored](const ExceptionRecord& record) {
          return std::any_of(stored.begin(), stored.end(), [&record](const ExceptionRecord& other) {
            return isSameDecision(record, other);
          });
        }));
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

// Kills runs at moments that are spread over all that a run does to the store: from when it has
// the lock to when an unharmed run would be done.
class KilledRun : public ExceptionsSafety {
 protected:
  // Starts a run, and kills it at a random moment. The span for that follows how fast the machine
  // is: one that was ended before the kill makes it shorter.
  void runAndKill(const std::vector<std::string>& arguments) {
    fs::remove(lockFile());
    const pid_t child = start(commandLine(arguments));
    const bool began = awaitLockFile(child);
    const auto until = Clock::now() + Clock::duration(std::uniform_int_distribution<long long>(
                                          0, workTime_.count())(random_));
    while (began && Clock::now() < until) {
    }
    kill(child, SIGKILL);
    if (finish(child).status == -SIGKILL) {
      ++killed_;
      workTime_ += workTime_ / 100;
    } else {
      workTime_ -= workTime_ / 25;
    }
  }

  // How long a run that nobody kills is at work.
  void measure(const std::vector<std::string>& arguments) {
    fs::remove(lockFile());
    const pid_t child = start(commandLine(arguments));
    awaitLockFile(child);
    const auto begin = Clock::now();
    EXPECT_EQ(0, finish(child).status);
    workTime_ = Clock::now() - begin;
  }

  // False when the run ended without one.
  bool awaitLockFile(pid_t child) const {
    siginfo_t info = {};
    while (!fs::exists(lockFile())) {
      if (waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
          info.si_pid == child) {
        return false;
      }
    }
    return true;
  }

  void emptyStore() const { fs::remove_all(store_); }

  Clock::duration workTime_{};
  std::mt19937 random_{20260131};
  int killed_ = 0;
};

TEST_F(KilledRun, OfRemoveLeavesEveryOtherRecordInSight) {
  const std::vector<std::string> removal = {"remove", "--yes", "abcdefg", "a", "abc", "ab"};
  const std::vector<ExceptionRecord> kept = {family_[3], family_[4], family_[5], family_[7]};
  placeFamily(0, 8);
  measure(removal);
  while (killed_ < 140) {
    emptyStore();
    placeFamily(0, 8);
    runAndKill(removal);
    ASSERT_THAT(findings(), IsEmpty());
    ASSERT_EQ(kept.size(), countFound(store_, kept));
  }
}

TEST_F(KilledRun, OfRepairLosesNothingAndTheNextRunFinishes) {
  const std::vector<ExceptionRecord> valid = {family_[1], family_[2],       family_[3],
                                              family_[4], plainRecord("x"), plainRecord("y")};
  const std::string broken = fileNameOf({hashOf(family_[0]), 0});
  const auto placeDisorder = [&] {
    emptyStore();
    placeBytes(store_, broken, "garbage");
    place(family_[1], 1);
    place(family_[1], 2);
    place(family_[2], 4);
    placeBytes(store_, fileNameOf({hashOf(family_[0]), 6}), writeRecord(valid[4]));
    place(family_[3], 8);
    placeBytes(store_, "copy.json", writeRecord(family_[4]));
    placeBytes(store_, fileNameOf({std::string(40, '0'), 0}), writeRecord(valid[5]));
  };
  placeDisorder();
  measure({"doctor", "--repair"});
  while (killed_ < 60) {
    placeDisorder();
    runAndKill({"doctor", "--repair"});
    ASSERT_EQ(valid.size(), countStored(valid));
    ASSERT_EQ(0, exceptions({"doctor", "--repair"}).status);
    ASSERT_THAT(findings(), IsEmpty());
    ASSERT_EQ(valid.size(), countFound(store_, valid));
    ASSERT_TRUE(fs::exists(store_ + "/set-aside/" + broken));
  }
}

}  // namespace
