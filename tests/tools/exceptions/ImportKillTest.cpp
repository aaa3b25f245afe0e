// What a killed import leaves behind.

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SlowBuild.h"
#include "tests/tools/exceptions/ExchangeFixture.h"
#include "tests/tools/exceptions/KillFixture.h"

namespace fs = std::filesystem;

namespace {

using testing::IsEmpty;

class KilledImport : public KillTest {
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
};

TEST_F(KilledImport, LeavesWholeRecordsAndIsCompletedByAnother) {
  const auto all = decisions();
  const std::string file = directory_.write("d.json", documentOf(all));
  const int points = complete({"import", file});
  for (int killed = 0; killed < timesHere(70);) {
    fs::remove_all(store_);
    killed += runAndKill({"import", file}, points) ? 1 : 0;
    if (fs::exists(store_)) {
      ASSERT_THAT(findings(), IsEmpty()) << "after kill " << killed;
    }
    complete({"import", file});
    ASSERT_THAT(findings(), IsEmpty()) << "after kill " << killed;
    ASSERT_EQ(all.size(), countFound(store_, all)) << "after kill " << killed;
    ASSERT_EQ(all.size(), countRecords()) << "after kill " << killed;
  }
}

}  // namespace
