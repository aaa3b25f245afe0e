// What a killed import leaves behind.

#include <signal.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/exceptions/ExchangeFixture.h"
#include "tools/trustctl/exceptions/Diagnosis.h"

namespace fs = std::filesystem;

namespace {

using testing::IsEmpty;
using Clock = std::chrono::steady_clock;

class KilledImport : public ExchangeTest {
 protected:
  // Some that hash alike, and some that do not.
  static std::vector<ExceptionRecord> decisions() {
    std::vector<ExceptionRecord> all = recordsOfOneHash(5);
    for (int i = 0; i < 4; ++i) {
      all.push_back(plainRecord(std::to_string(i) + ".test"));
    }
    return all;
  }

  std::size_t countRecords() const {
    std::error_code gone;
    std::size_t count = 0;
    for (fs::directory_iterator entry(store_, gone); !gone && entry != fs::directory_iterator();
         entry.increment(gone)) {
      count += entry->path().extension() == ".json" ? 1 : 0;
    }
    return count;
  }

  static bool hasEnded(pid_t child) {
    siginfo_t info = {};
    return waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == child;
  }

  // Kills an import a random while after it has stored so many decisions. False when it had
  // ended before.
  bool importAndKill(const std::string& file, std::size_t stored) {
    const pid_t child = start(commandLine({"import", file}));
    while (countRecords() < stored && !hasEnded(child)) {
    }
    const auto until =
        Clock::now() + std::chrono::microseconds(std::uniform_int_distribution(0, 400)(random_));
    while (Clock::now() < until) {
    }
    kill(child, SIGKILL);
    return finish(child).status == -SIGKILL;
  }

  // All that doctor finds but notes, in this process to save time: a record that is torn, beyond
  // a gap, there twice, or of another hash.
  std::vector<std::string> findings() const {
    std::vector<std::string> found;
    const ExceptionStore store(store_);
    for (const Finding& finding : Diagnosis(store).examineAll()) {
      if (!isNote(finding)) {
        found.push_back(finding.entry + " " + problemWord(finding.problem));
      }
    }
    return found;
  }

  std::mt19937 random_{20260131};
};

TEST_F(KilledImport, LeavesWholeRecordsAndIsCompletedByAnother) {
  const auto all = decisions();
  const std::string file = directory_.write("d.json", documentOf(all));
  int killed = 0;
  for (std::size_t round = 0; killed < 70; ++round) {
    fs::remove_all(store_);
    killed += importAndKill(file, round % all.size()) ? 1 : 0;
    if (fs::exists(store_)) {
      ASSERT_THAT(findings(), IsEmpty()) << "after kill " << killed;
    }
    ASSERT_EQ(0, exceptions({"import", file}).status);
    ASSERT_THAT(findings(), IsEmpty()) << "after kill " << killed;
    ASSERT_EQ(all.size(), countFound(store_, all)) << "after kill " << killed;
    ASSERT_EQ(all.size(), countRecords()) << "after kill " << killed;
  }
}

}  // namespace
