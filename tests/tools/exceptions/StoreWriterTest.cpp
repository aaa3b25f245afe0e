#include "tools/trustctl/exceptions/StoreWriter.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/TemporaryDirectory.h"
#include "tests/tools/exceptions/Records.h"
#include "tools/trustctl/CommandError.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Added = StoreWriter::Added;

class Writer : public testing::Test {
 protected:
  std::string name(int number) const { return fileNameOf({hashOf(records_[0]), number}); }

  void placeAll(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      place(store_, records_[i], static_cast<int>(i));
    }
  }

  // The domains in the order of the numbers, up to the first that is free.
  std::string domains() const {
    std::string all;
    for (int i = 0; fs::exists(store_ + "/" + name(i)); ++i) {
      all += " " + *ExceptionStore(store_).read(name(i)).domain;
    }
    return all;
  }

  // What the operation complains of.
  template <typename Operation>
  std::string complaint(const Operation& operation) {
    try {
      operation();
    } catch (const CommandError& error) {
      EXPECT_EQ(ExitStatus::undecided, error.status());
      return error.what();
    }
    return "nothing";
  }

  TemporaryDirectory directory_;
  std::string store_ = directory_.path("store");
  std::vector<ExceptionRecord> records_ = recordsOfOneHash(10);
};

TEST_F(Writer, StoresWhereTheLibraryLooks) {
  EXPECT_EQ(Added::stored, StoreWriter(store_).add(records_[0]));
  EXPECT_TRUE(libraryFinds(store_, records_[0]));
  EXPECT_THAT(entriesOf(store_), ElementsAre(name(0)));
}

TEST_F(Writer, StoresWhatIsThereAlreadyNoSecondTime) {
  placeAll(2);
  EXPECT_EQ(Added::alreadyThere, StoreWriter(store_).add(records_[1]));
  EXPECT_THAT(entriesOf(store_), ElementsAre(name(0), name(1)));
}

TEST_F(Writer, GivesRecordsOfOneHashNumbersInTurn) {
  {
    StoreWriter writer(store_);
    for (const ExceptionRecord& record : records_) {
      EXPECT_EQ(Added::stored, writer.add(record));
    }
  }
  EXPECT_EQ(10U, countFound(store_, records_));
}

TEST_F(Writer, SaysWhereThereIsNoRoomForAnotherOfOneHash) {
  placeAll(10);
  const ExceptionRecord eleventh = plainRecord("abcdefghijk", "l");
  EXPECT_THAT(complaint([&] { StoreWriter(store_).add(eleventh); }),
              HasSubstr("ten other decisions"));
}

TEST_F(Writer, DoesNotPassOverAFileThatCannotBeRead) {
  placeBytes(store_, name(0), "garbage");
  EXPECT_THAT(complaint([&] { StoreWriter(store_).add(records_[0]); }),
              HasSubstr("exceptions doctor --repair"));
  EXPECT_THAT(entriesOf(store_), ElementsAre(name(0)));
}

TEST_F(Writer, DoesNotWriteThroughALinkThatLeadsNowhere) {
  fs::create_directory(store_);
  fs::create_symlink(directory_.path("elsewhere"), store_ + "/" + name(0));
  EXPECT_THAT(complaint([&] { StoreWriter(store_).add(records_[0]); }), HasSubstr("in the way"));
  EXPECT_FALSE(fs::exists(directory_.path("elsewhere")));
}

TEST_F(Writer, RemovesTheOnlyRecord) {
  placeAll(1);
  StoreWriter(store_).remove(name(0));
  EXPECT_THAT(entriesOf(store_), IsEmpty());
}

TEST_F(Writer, PutsTheLastRecordInThePlaceOfOneThatIsRemoved) {
  placeAll(4);
  StoreWriter(store_).remove(name(1));
  EXPECT_EQ(" a abcd abc", domains());
  EXPECT_THAT(entriesOf(store_), ElementsAre(name(0), name(1), name(2)));
}

TEST_F(Writer, LeavesTheOthersAloneWhereTheLastIsRemoved) {
  placeAll(3);
  StoreWriter(store_).remove(name(2));
  EXPECT_EQ(" a ab", domains());
}

TEST_F(Writer, RemovesOneOfTwoNamesOfOneFile) {
  placeAll(1);
  fs::create_hard_link(store_ + "/" + name(0), store_ + "/" + name(1));
  StoreWriter(store_).remove(name(0));
  EXPECT_THAT(entriesOf(store_), ElementsAre(name(0)));
}

TEST_F(Writer, RemovesALinkAndNotWhatItLeadsTo) {
  const std::string target = directory_.write("target", writeRecord(records_[0]));
  fs::create_directory(store_);
  fs::create_symlink(target, store_ + "/" + name(0));
  StoreWriter(store_).remove(name(0));
  EXPECT_TRUE(fs::exists(target));
  EXPECT_THAT(entriesOf(store_), IsEmpty());
}

TEST_F(Writer, RefusesToRemoveADirectory) {
  fs::create_directories(store_ + "/" + name(0));
  EXPECT_THAT(complaint([&] { StoreWriter(store_).remove(name(0)); }), HasSubstr("a directory"));
}

TEST_F(Writer, SaysThatWhatIsToBeRemovedIsGone) {
  EXPECT_THAT(complaint([&] { StoreWriter(store_).remove(name(0)); }),
              HasSubstr("it was removed meanwhile"));
}

TEST_F(Writer, SetsAsideWithoutAGap) {
  placeAll(3);
  EXPECT_EQ("set-aside/" + name(0), StoreWriter(store_).setAside(name(0)));
  EXPECT_EQ(" abc ab", domains());
  EXPECT_EQ(writeRecord(records_[0]),
            writeRecord(ExceptionStore(store_ + "/set-aside").read(name(0))));
}

TEST_F(Writer, SetsAsideBesideWhatIsThere) {
  placeAll(1);
  directory_.write("store/set-aside/" + name(0), "first");
  EXPECT_EQ("set-aside/" + name(0) + ".1", StoreWriter(store_).setAside(name(0)));
  EXPECT_EQ(5U, fs::file_size(store_ + "/set-aside/" + name(0)));
}

TEST_F(Writer, FinishesWhatWasKilledWhileSettingAside) {
  placeAll(2);
  fs::create_directory(store_ + "/set-aside");
  fs::create_hard_link(store_ + "/" + name(0), store_ + "/set-aside/" + name(0));
  EXPECT_EQ("set-aside/" + name(0), StoreWriter(store_).setAside(name(0)));
  EXPECT_EQ(" ab", domains());
}

TEST_F(Writer, SetsADirectoryAsideWithoutAGap) {
  placeAll(3);
  fs::remove(store_ + "/" + name(1));
  fs::create_directory(store_ + "/" + name(1));
  StoreWriter(store_).setAside(name(1));
  EXPECT_EQ(" a abc", domains());
  EXPECT_TRUE(fs::is_directory(store_ + "/set-aside/" + name(1)));
}

TEST_F(Writer, DoesNotSetAsideThroughALink) {
  placeAll(1);
  fs::create_directory(directory_.path("elsewhere"));
  fs::create_directory_symlink(directory_.path("elsewhere"), store_ + "/set-aside");
  EXPECT_THAT(complaint([&] { StoreWriter(store_).setAside(name(0)); }),
              HasSubstr("look what stands there instead"));
  EXPECT_THAT(entriesOf(store_), ElementsAre(name(0), "set-aside"));
}

TEST_F(Writer, BringsWhatLiesBeyondAGapIntoSight) {
  place(store_, records_[0], 1);
  place(store_, records_[1], 4);
  place(store_, records_[2], 9);
  EXPECT_EQ(2, StoreWriter(store_).closeGaps(hashOf(records_[0])));
  EXPECT_EQ(" abc a ab", domains());
}

TEST_F(Writer, KeepsOtherWritersWaiting) {
  const StoreWriter writer(store_);
  const int other = open((store_ + "/.trustctl.lock").c_str(), O_RDONLY | O_CLOEXEC);
  EXPECT_EQ(-1, flock(other, LOCK_EX | LOCK_NB));
  EXPECT_EQ(EWOULDBLOCK, errno);
  close(other);
}

TEST_F(Writer, DoesNotLockThroughALink) {
  directory_.write("store/a", "");
  fs::create_symlink(directory_.path("elsewhere"), store_ + "/.trustctl.lock");
  EXPECT_THAT(complaint([&] { const StoreWriter writer(store_); }), HasSubstr(".trustctl.lock"));
  EXPECT_FALSE(fs::exists(directory_.path("elsewhere")));
}

TEST_F(Writer, SaysWhereTheStoreCannotBeMade) {
  const std::string file = directory_.write("file", "");
  EXPECT_THAT(complaint([&] { const StoreWriter writer(file + "/store"); }),
              HasSubstr("cannot make the store"));
}

}  // namespace
