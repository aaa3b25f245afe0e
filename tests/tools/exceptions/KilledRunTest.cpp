// What holds when a run is killed.

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SlowBuild.h"
#include "tests/tools/exceptions/KillFixture.h"
#include "tools/trustctl/exceptions/ExceptionStore.h"
#include "tools/trustctl/exceptions/RecordName.h"

namespace fs = std::filesystem;

namespace {

using testing::IsEmpty;

class KilledRun : public KillTest {
 protected:
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

  void emptyStore() const { fs::remove_all(store_); }

  void placeFamily(const std::vector<ExceptionRecord>& family) const {
    for (std::size_t i = 0; i < family.size(); ++i) {
      place(family[i], static_cast<int>(i));
    }
  }

  std::vector<ExceptionRecord> family_ = recordsOfOneHash(8);
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
  const int points = complete(removal);
  for (int killed = 0; killed < timesHere(140);) {
    placeAll();
    killed += runAndKill(removal, points) ? 1 : 0;
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
  const int points = complete({"doctor", "--repair"});
  for (int killed = 0; killed < timesHere(60);) {
    placeDisorder();
    killed += runAndKill({"doctor", "--repair"}, points) ? 1 : 0;
    ASSERT_EQ(valid.size(), countStored(valid));
    complete({"doctor", "--repair"});
    ASSERT_THAT(findings(), IsEmpty());
    ASSERT_EQ(valid.size(), countFound(store_, valid));
    ASSERT_TRUE(fs::exists(store_ + "/set-aside/" + broken));
  }
}

}  // namespace
