// What holds when a run is killed.

#include <errno.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <random>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/exceptions/ExceptionsFixture.h"
#include "tools/trustctl/FileDescriptor.h"
#include "tools/trustctl/exceptions/Diagnosis.h"
#include "tools/trustctl/exceptions/RecordName.h"

namespace fs = std::filesystem;

namespace {

using testing::IsEmpty;
using Clock = std::chrono::steady_clock;

// Tells when a file of that name is made in a directory. Whoever waits sleeps, so that it is
// heard at once even where there is little processor time to be had.
class Arrival {
 public:
  explicit Arrival(const std::string& directory) : fd_(inotify_init1(IN_CLOEXEC)) {
    if (inotify_add_watch(fd_.get(), directory.c_str(), IN_CREATE) == -1) {
      throw std::runtime_error("no watch over " + directory);
    }
  }

  void await(const char* name) const {
    alignas(inotify_event) char buffer[4096];
    for (;;) {
      const ssize_t length = read(fd_.get(), buffer, sizeof buffer);
      if (length <= 0) {
        throw std::runtime_error("the watch broke");
      }
      for (ssize_t at = 0; at < length;) {
        const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
        if (strcmp(event->name, name) == 0) {
          return;
        }
        at += static_cast<ssize_t>(sizeof *event + event->len);
      }
    }
  }

 private:
  FileDescriptor fd_;
};

// Kills runs at random moments between when they have the lock and when one that nobody harms
// would be done. The store lies in memory where it can: a disk would have most of them killed
// while they wait for it.
class KilledRun : public ExceptionsTest {
 protected:
  KilledRun() {
    char memory[] = "/dev/shm/trustlib-test-XXXXXX";
    if (mkdtemp(memory) != nullptr) {
      memory_ = memory;
      store_ = memory_ + "/store";
    }
    environment_["LSAN_OPTIONS"] = "detect_leaks=0";  // its helper would outlive the killed run
    prctl(PR_SET_TIMERSLACK, 1);
  }

  ~KilledRun() override {
    if (!memory_.empty()) {
      fs::remove_all(memory_);
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

  // Kills a run at a random moment. The span for that follows how fast the machine is: one that
  // was done before the kill makes it shorter.
  void runAndKill(const std::vector<std::string>& arguments) {
    const pid_t child = startAndAwaitLock(arguments);
    const long long span = std::chrono::nanoseconds(workTime_).count();
    const long long pause = std::uniform_int_distribution<long long>(0, span)(random_);
    const timespec moment = {static_cast<time_t>(pause / 1'000'000'000),
                             static_cast<long>(pause % 1'000'000'000)};
    nanosleep(&moment, nullptr);
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
    const pid_t child = startAndAwaitLock(arguments);
    const auto begin = Clock::now();
    EXPECT_EQ(0, finish(child).status);
    workTime_ = Clock::now() - begin;
  }

  pid_t startAndAwaitLock(const std::vector<std::string>& arguments) {
    const Arrival arrival(store_);
    const pid_t child = start(commandLine(arguments));
    arrival.await(".trustctl.lock");
    return child;
  }

  // Without a lock, too, so that the next run makes one.
  void emptyStore() const { fs::remove_all(store_); }

  void placeFamily(const std::vector<ExceptionRecord>& family) const {
    for (std::size_t i = 0; i < family.size(); ++i) {
      place(family[i], static_cast<int>(i));
    }
  }

  std::string memory_;  // a directory, where there is one in memory
  std::vector<ExceptionRecord> family_ = recordsOfOneHash(8);
  Clock::duration workTime_{};
  std::mt19937 random_{std::random_device{}()};
  int killed_ = 0;
};

TEST_F(KilledRun, OfRemoveLeavesEveryOtherRecordInSight) {
  std::vector<std::string> removal = {"remove", "--yes"};
  std::vector<ExceptionRecord> kept;
  std::vector<std::vector<ExceptionRecord>> families;
  for (const char* bytes : {"abcdefghijkl", "bcdefghijklm", "cdefghijklmn"}) {
    families.push_back(recordsOfOneHash(8, bytes));
    for (const std::size_t removed : {6U, 0U, 2U, 1U, 4U}) {
      removal.push_back(*families.back()[removed].domain);
    }
    for (const std::size_t left : {3U, 5U, 7U}) {
      kept.push_back(families.back()[left]);
    }
  }
  const auto placeAll = [&] {
    emptyStore();
    for (const auto& family : families) {
      placeFamily(family);
    }
  };
  placeAll();
  measure(removal);
  while (killed_ < 140) {
    placeAll();
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
