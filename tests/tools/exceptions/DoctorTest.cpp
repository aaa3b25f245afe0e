#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/exceptions/ExceptionsFixture.h"
#include "tools/trustctl/exceptions/RecordName.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ExceptionsDoctor : public ExceptionsTest {
 protected:
  // "FILE PROBLEM" of all that it finds.
  std::vector<std::string> findings() {
    std::vector<std::string> found;
    for (const rapidjson::Document& line : parseLines(exceptions({"doctor", "--json"}).out)) {
      found.push_back(std::string(line["file"].GetString()) + " " + line["problem"].GetString());
    }
    return found;
  }

  // Whether a repair leaves a store without findings.
  testing::AssertionResult isRepaired() {
    const ProgramRun result = exceptions({"doctor", "--repair"});
    if (result.status != 0) {
      return testing::AssertionFailure() << result.out << result.err;
    }
    return isClean();
  }

  std::string path(const std::string& name) const { return store_ + "/" + name; }

  void makeOlder(const std::string& name, std::int64_t seconds) const {
    const auto past = static_cast<time_t>(time(nullptr) - seconds);
    const utimbuf times = {past, past};
    ASSERT_EQ(0, utime(path(name).c_str(), &times));
  }

  const std::string noHash_ = std::string(40, '0');
};

TEST_F(ExceptionsDoctor, FindsNothingInAStoreOfTheLibrarys) {
  libraryAdds(store_, plainRecord("a"));
  fs::permissions(store_, fs::perms::owner_all);  // whatever the umask
  for (const std::string& name : entriesOf(store_)) {
    fs::permissions(path(name), fs::perms::owner_read | fs::perms::owner_write);
  }
  const ProgramRun result = exceptions({"doctor"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("is in order"));
}

TEST_F(ExceptionsDoctor, ChangesNothingUnlessAskedTo) {
  placeBytes(store_, "notes.json", "mine");
  EXPECT_EQ(1, exceptions({"doctor"}).status);
  EXPECT_THAT(entriesOf(store_), ElementsAre("notes.json"));
  EXPECT_FALSE(fs::exists(path(".trustctl.lock")));
}

TEST_F(ExceptionsDoctor, OfAStoreThatIsNotThereIsContentAndMakesNone) {
  EXPECT_EQ(0, exceptions({"doctor", "--repair"}).status);
  EXPECT_FALSE(fs::exists(store_));
}

TEST_F(ExceptionsDoctor, LeavesAFileInPlaceOfTheStoreAsItIs) {
  std::ofstream(store_) << "mine";
  fs::permissions(store_, fs::perms(0600));
  EXPECT_EQ(3, exceptions({"doctor"}).status);
  const ProgramRun result = exceptions({"doctor", "--repair"});
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "give the store's directory with --store"));
  EXPECT_EQ(fs::perms(0600), fs::status(store_).permissions());
}

TEST_F(ExceptionsDoctor, DoesNotTakeAPathThatCannotBeForAStoreThatIsNotThere) {
  std::ofstream(directory_.path("file")) << "mine";
  store_ = directory_.path("file/store");
  EXPECT_EQ(3, exceptions({"doctor"}).status);
}

TEST_F(ExceptionsDoctor, OfALinkThatLeadsNowhereSaysSo) {
  fs::create_symlink("nowhere", store_);
  EXPECT_TRUE(isComplaint(exceptions({"doctor"}).err, "a link that leads nowhere"));
  EXPECT_EQ(3, exceptions({"list"}).status);
}

TEST_F(ExceptionsDoctor, SetsAsideWhatCannotBeRead) {
  std::vector<ExceptionRecord> family = recordsOfOneHash(2);
  const std::string broken = place(family[0]);
  place(family[1], 1);
  placeBytes(store_, broken, "garbage");
  EXPECT_THAT(findings(), ElementsAre(broken + " unreadable"));
  EXPECT_THAT(exceptions({"doctor"}).out, HasSubstr("instead of finding a decision"));
  EXPECT_TRUE(isRepaired());
  EXPECT_TRUE(libraryFinds(store_, family[1]));
  EXPECT_EQ(7U, fs::file_size(path("set-aside/" + broken)));
}

TEST_F(ExceptionsDoctor, GivesADecisionItsRightHash) {
  const ExceptionRecord record = plainRecord("a");
  const std::string wrong = fileNameOf({noHash_, 0});
  placeBytes(store_, wrong, writeRecord(record));
  EXPECT_THAT(findings(), ElementsAre(wrong + " wrong_hash"));
  EXPECT_TRUE(isRepaired());
  EXPECT_TRUE(libraryFinds(store_, record));
  EXPECT_TRUE(fs::exists(path("set-aside/" + wrong)));
}

TEST_F(ExceptionsDoctor, GivesADecisionItsRightName) {
  const ExceptionRecord record = plainRecord("a");
  placeBytes(store_, "copy.json", writeRecord(record));
  EXPECT_THAT(findings(), ElementsAre("copy.json wrong_name"));
  EXPECT_TRUE(isRepaired());
  EXPECT_TRUE(libraryFinds(store_, record));
}

TEST_F(ExceptionsDoctor, KeepsForeignFilesFromTheLibrarysClearing) {
  placeBytes(store_, "notes.json", "mine");
  EXPECT_THAT(findings(), ElementsAre("notes.json foreign"));
  EXPECT_TRUE(isRepaired());
  EXPECT_TRUE(fs::exists(path("set-aside/notes.json")));
}

TEST_F(ExceptionsDoctor, BringsWhatLiesBeyondAGapIntoSight) {
  std::vector<ExceptionRecord> family = recordsOfOneHash(3);
  place(family[0], 0);
  const std::string second = place(family[1], 2);
  const std::string third = place(family[2], 5);
  EXPECT_THAT(findings(), ElementsAre(second + " beyond_gap", third + " beyond_gap"));
  EXPECT_TRUE(isRepaired());
  EXPECT_EQ(3U, countFound(store_, family));
}

TEST_F(ExceptionsDoctor, SetsTheSecondOfTwoEqualDecisionsAside) {
  const ExceptionRecord record = plainRecord("a");
  place(record);
  const std::string second = place(record, 1);
  EXPECT_THAT(findings(), ElementsAre(second + " duplicate"));
  EXPECT_TRUE(isRepaired());
  EXPECT_TRUE(libraryFinds(store_, record));
}

TEST_F(ExceptionsDoctor, SetsALinkAsideAndLeavesWhatItLeadsTo) {
  const std::string target = directory_.write("target", writeRecord(plainRecord("a")));
  const std::string name = place(plainRecord("a"));
  fs::remove(path(name));
  fs::create_symlink(target, path(name));
  EXPECT_THAT(findings(), ElementsAre(name + " not_plain"));
  EXPECT_TRUE(isRepaired());
  EXPECT_TRUE(fs::exists(target));
  EXPECT_TRUE(fs::is_symlink(path("set-aside/" + name)));
}

TEST_F(ExceptionsDoctor, DoesNotWaitForAPipe) {
  const std::string name = fileNameOf({noHash_, 0});
  fs::create_directory(store_);
  fs::permissions(store_, fs::perms::owner_all);
  ASSERT_EQ(0, mkfifo(path(name).c_str(), 0600));
  EXPECT_THAT(exceptions({"doctor"}).out, HasSubstr("waits for a writer"));
  EXPECT_TRUE(isRepaired());
}

TEST_F(ExceptionsDoctor, TakesWritingFromOthers) {
  const std::string name = place(plainRecord("a"));
  fs::permissions(path(name), fs::perms(0666));
  fs::permissions(store_, fs::perms(0777));
  EXPECT_THAT(findings(), ElementsAre(" directory_mode", name + " mode"));
  EXPECT_TRUE(isRepaired());
  EXPECT_EQ(fs::perms(0644), fs::status(path(name)).permissions());
  EXPECT_EQ(fs::perms(0755), fs::status(store_).permissions());
}

TEST_F(ExceptionsDoctor, GivesTheOwnerWhatHeNeeds) {
  const std::string name = place(plainRecord("a"));
  fs::permissions(path(name), fs::perms::none);
  fs::permissions(store_, fs::perms::owner_read);
  const ProgramRun result = exceptions({"doctor"});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("its owner cannot use it"));
  EXPECT_TRUE(isRepaired());
  EXPECT_TRUE(libraryFinds(store_, plainRecord("a")));
}

TEST_F(ExceptionsDoctor, SetsAsideWhatAnotherUserMade) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can give files to others";
  }
  const std::string name = place(plainRecord("a"));
  ASSERT_EQ(0, chown(path(name).c_str(), 12345, 12345));
  EXPECT_THAT(findings(), ElementsAre(name + " owner"));
  EXPECT_TRUE(isRepaired());
  EXPECT_FALSE(libraryFinds(store_, plainRecord("a")));
}

TEST_F(ExceptionsDoctor, TakesWhatAWriterLeftForANoteAndSetsItAsideWhenItIsOld) {
  place(plainRecord("a"));
  const std::string young = fileNameOf({noHash_, 0}) + ".0.new";
  const std::string old = fileNameOf({noHash_, 0}) + ".1.new";
  placeBytes(store_, young, "");
  placeBytes(store_, old, "");
  makeOlder(old, 2 * 3600);
  EXPECT_THAT(findings(), ElementsAre(young + " leftover", old + " leftover"));
  EXPECT_EQ(0, exceptions({"doctor"}).status);
  EXPECT_EQ(0, exceptions({"doctor", "--repair"}).status);
  EXPECT_THAT(findings(), ElementsAre(young + " leftover"));
  EXPECT_TRUE(fs::exists(path("set-aside/" + old)));
}

TEST_F(ExceptionsDoctor, SaysWhatItCouldNotRepair) {
  std::vector<ExceptionRecord> family = recordsOfOneHash(10);
  for (int i = 0; i < 10; ++i) {
    place(family[static_cast<std::size_t>(i)], i);
  }
  placeBytes(store_, "eleventh.json", writeRecord(plainRecord("abcdefghijk", "l")));
  const ProgramRun result = exceptions({"doctor", "--repair"});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("not repaired: ten other decisions"));
  EXPECT_TRUE(fs::exists(path("eleventh.json")));
}

TEST_F(ExceptionsDoctor, MendsManyThingsOfOneHashAtOnce) {
  std::vector<ExceptionRecord> family = recordsOfOneHash(4);
  placeBytes(store_, place(family[0]), "garbage");
  place(family[1], 1);
  place(family[1], 2);
  placeBytes(store_, fileNameOf({hashOf(family[0]), 4}), writeRecord(plainRecord("other")));
  place(family[2], 6);
  placeBytes(store_, "copy.json", writeRecord(family[3]));
  EXPECT_TRUE(isRepaired());
  EXPECT_EQ(4U, countFound(store_, {family[1], family[2], family[3], plainRecord("other")}));
}

TEST_F(ExceptionsDoctor, HasItsJsonMembersInTheirOrder) {
  placeBytes(store_, "notes.json", "mine");
  EXPECT_EQ("file problem harmless text repaired",
            memberNames(parseLine(exceptions({"doctor", "--json"}).out)));
  const rapidjson::Document repaired = parseLine(exceptions({"doctor", "--repair", "--json"}).out);
  EXPECT_EQ("file problem harmless text repaired repair", memberNames(repaired));
  EXPECT_TRUE(repaired["repaired"].GetBool());
}

}  // namespace
