#include <sys/stat.h>
#include <utime.h>

#include <algorithm>
#include <ctime>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/exceptions/ExceptionsFixture.h"
#include "tools/trustctl/exceptions/RecordName.h"
#include "trustlib/CertificateWarnings.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::int64_t day = 86400;

class ExceptionsRemove : public ExceptionsTest {
 protected:
  // Records of one hash under their numbers.
  void placeFamily(std::size_t count) {
    family_ = recordsOfOneHash(count);
    for (std::size_t i = 0; i < count; ++i) {
      place(family_[i], static_cast<int>(i));
    }
  }
  std::vector<ExceptionRecord> family_;
};

TEST_F(ExceptionsRemove, NeedsAWordWhereNobodyCanBeAsked) {
  place(plainRecord("a"));
  const ProgramRun result = exceptions({"remove", "a"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "--yes"));
  EXPECT_THAT(entriesOf(store_), SizeIs(1));
}

TEST_F(ExceptionsRemove, SaysWhatWasRemoved) {
  const std::string file = place(plainRecord("a"));
  const ProgramRun result = exceptions({"remove", "--yes", "a"});
  EXPECT_EQ(0, result.status);
  EXPECT_EQ("removed: a, in spite of NO_TRUSTED (" + file + ")\n", result.out);
  EXPECT_THAT(entriesOf(store_), IsEmpty());
}

TEST_F(ExceptionsRemove, KeepsTheOtherRecordsOfTheHashInSight) {
  placeFamily(4);
  EXPECT_EQ(0, exceptions({"remove", "--yes", "a", "abc"}).status);
  EXPECT_FALSE(libraryFinds(store_, family_[0]));
  EXPECT_TRUE(libraryFinds(store_, family_[1]));
  EXPECT_FALSE(libraryFinds(store_, family_[2]));
  EXPECT_TRUE(libraryFinds(store_, family_[3]));
}

TEST_F(ExceptionsRemove, RemovesADecisionThatStandsTwice) {
  const ExceptionRecord record = plainRecord("a");
  const std::string file = place(record);
  place(record, 1);
  EXPECT_EQ(0, exceptions({"remove", "--yes", file}).status);
  EXPECT_FALSE(libraryFinds(store_, record));
}

TEST_F(ExceptionsRemove, RemovesNothingWhereOneIdIsUnknown) {
  place(plainRecord("a"));
  EXPECT_EQ(2, exceptions({"remove", "--yes", "a", "unknown"}).status);
  EXPECT_THAT(entriesOf(store_), SizeIs(1));
}

TEST_F(ExceptionsRemove, AsksAtATerminalAndTakesNoWordForNo) {
  place(plainRecord("a"));
  const TerminalRun result = atTerminal({"remove", "a"}, "\n");
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.drawn, HasSubstr("a, in spite of NO_TRUSTED"));
  EXPECT_THAT(result.drawn, HasSubstr("Nothing was removed."));
  EXPECT_THAT(entriesOf(store_), SizeIs(1));
}

TEST_F(ExceptionsRemove, RemovesAtATerminalWhatWasAgreedTo) {
  place(plainRecord("a"));
  EXPECT_EQ(0, atTerminal({"remove", "a"}, "y\n").status);
  EXPECT_THAT(entriesOf(store_), IsEmpty());
}

class ExceptionsClear : public ExceptionsRemove {};

TEST_F(ExceptionsClear, RemovesDecisionsAndNothingElse) {
  placeFamily(3);
  placeBytes(store_, fileNameOf({std::string(40, '0'), 0}), "garbage");
  placeBytes(store_, "notes.json", "mine");
  placeBytes(store_, "notes.txt", "mine");
  const ProgramRun result = exceptions({"clear", "--yes"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(entriesOf(store_), ElementsAre("notes.json", "notes.txt"));
  EXPECT_THAT(result.out, HasSubstr("removed: ab, in spite of NO_TRUSTED"));
  EXPECT_THAT(result.out, HasSubstr("removed: what could not be read"));
  EXPECT_THAT(result.out, HasSubstr("left alone: notes.json"));
}

TEST_F(ExceptionsRemove, HasItsJsonMembersInTheirOrder) {
  place(plainRecord("a.test"));
  const rapidjson::Document line =
      parseLine(exceptions({"remove", "--yes", "--json", "a.test"}).out);
  EXPECT_EQ("file domain warnings warning_bits removed", memberNames(line));
  EXPECT_TRUE(line["removed"].GetBool());
}

TEST_F(ExceptionsRemove, NeverAsksWhereAProgramReadsTheAnswer) {
  place(plainRecord("a.test"));
  const TerminalRun run = atTerminal({"remove", "--json", "a.test"}, "y\n");
  EXPECT_EQ(2, run.status);
  EXPECT_THAT(run.drawn, HasSubstr("with --json nobody is asked"));
  EXPECT_THAT(entriesOf(store_), SizeIs(1));
}

TEST_F(ExceptionsClear, SaysInJsonWhatCouldNotBeReadToo) {
  placeBytes(store_, place(plainRecord("a")), "garbage");
  placeBytes(store_, "notes.json", "mine");
  EXPECT_EQ("file removed", memberNames(parseLine(exceptions({"clear", "--yes", "--json"}).out)));
  EXPECT_EQ("", exceptions({"clear", "--yes", "--json"}).out);
}

TEST_F(ExceptionsClear, RemovesManyAndSaysSoOfEach) {
  for (int i = 0; i < 300; ++i) {
    place(plainRecord("host" + std::to_string(i)));
  }
  const ProgramRun result = exceptions({"clear", "--yes"});
  EXPECT_EQ(0, result.status);
  EXPECT_EQ(300, std::count(result.out.begin(), result.out.end(), '\n'));
  EXPECT_THAT(entriesOf(store_), IsEmpty());
}

TEST_F(ExceptionsClear, NeedsAWordWhereNobodyCanBeAsked) {
  placeFamily(1);
  EXPECT_EQ(2, exceptions({"clear"}).status);
  EXPECT_THAT(entriesOf(store_), SizeIs(1));
}

TEST_F(ExceptionsClear, AsksAtATerminal) {
  placeFamily(2);
  EXPECT_EQ(1, atTerminal({"clear"}, "n\n").status);
  EXPECT_THAT(entriesOf(store_), SizeIs(2));
  EXPECT_EQ(0, atTerminal({"clear"}, "yes\n").status);
  EXPECT_THAT(entriesOf(store_), IsEmpty());
}

TEST_F(ExceptionsClear, DoesNotMakeAStore) {
  EXPECT_EQ(0, exceptions({"clear", "--yes"}).status);
  EXPECT_FALSE(std::filesystem::exists(store_));
}

class ExceptionsPrune : public ExceptionsTest {
 protected:
  static std::int64_t now() { return time(nullptr); }

  static ExceptionRecord createdAt(const std::string& domain, std::int64_t moment) {
    ExceptionRecord record = plainRecord(domain);
    record.created = moment;
    return record;
  }
  static ExceptionRecord expiringAt(const std::string& domain, std::int64_t moment) {
    ExceptionRecord record = plainRecord(domain);
    record.expires = moment;
    return record;
  }
};

TEST_F(ExceptionsPrune, RemovesWhatWasCreatedTooLongAgo) {
  place(createdAt("old", now() - 91 * day));
  const std::string kept = place(createdAt("new", now() - 89 * day));
  const ProgramRun result = exceptions({"prune", "--older-than", "90d"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("removed: old"));
  EXPECT_THAT(entriesOf(store_), ElementsAre(kept));
}

TEST_F(ExceptionsPrune, GoesByTheFilesTimeWhereNothingIsNoted) {
  const std::string file = place(plainRecord("old"));
  const auto past = static_cast<time_t>(now() - 3 * 3600);
  const utimbuf times = {past, past};
  ASSERT_EQ(0, utime((store_ + "/" + file).c_str(), &times));
  EXPECT_EQ(0, exceptions({"prune", "--older-than", "4h"}).status);
  EXPECT_THAT(entriesOf(store_), SizeIs(1));
  EXPECT_EQ(0, exceptions({"prune", "--older-than", "2h"}).status);
  EXPECT_THAT(entriesOf(store_), IsEmpty());
}

TEST_F(ExceptionsPrune, RemovesWhatIsExpired) {
  place(expiringAt("over", now() - 1));
  const std::string later = place(expiringAt("later", now() + day));
  const std::string never = place(plainRecord("never"));
  EXPECT_EQ(0, exceptions({"prune", "--expired"}).status);
  EXPECT_THAT(entriesOf(store_), testing::UnorderedElementsAre(later, never));
}

TEST_F(ExceptionsPrune, OnlySaysWhatItWouldDo) {
  place(expiringAt("over", 1'700'000'000));
  const ProgramRun result = exceptions({"prune", "--expired", "--dry-run"});
  EXPECT_THAT(result.out, HasSubstr("would remove: over"));
  EXPECT_THAT(entriesOf(store_), SizeIs(1));
}

TEST_F(ExceptionsPrune, HasItsJsonMembersInTheirOrder) {
  ExceptionRecord record = plainRecord("a.test");
  record.created = 0;
  place(record);
  const rapidjson::Document would =
      parseLine(exceptions({"prune", "--older-than", "1d", "--dry-run", "--json"}).out);
  EXPECT_EQ("file domain warnings warning_bits removed", memberNames(would));
  EXPECT_FALSE(would["removed"].GetBool());
  EXPECT_TRUE(
      parseLine(exceptions({"prune", "--older-than", "1d", "--json"}).out)["removed"].GetBool());
  EXPECT_EQ("", exceptions({"prune", "--older-than", "1d", "--json"}).out);
}

TEST_F(ExceptionsPrune, KeepsTheOtherRecordsOfTheHashInSight) {
  std::vector<ExceptionRecord> family = recordsOfOneHash(5);
  family[1].expires = family[3].expires = 1'700'000'000;
  for (int i = 0; i < 5; ++i) {
    place(family[static_cast<std::size_t>(i)], i);
  }
  EXPECT_EQ(0, exceptions({"prune", "--expired"}).status);
  EXPECT_EQ(3U, countFound(store_, {family[0], family[2], family[4]}));
  EXPECT_EQ(0U, countFound(store_, {family[1], family[3]}));
}

TEST_F(ExceptionsPrune, NeedsToBeToldWhatToRemove) {
  const ProgramRun result = exceptions({"prune"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "--older-than AGE, --expired"));
}

TEST_F(ExceptionsPrune, RefusesAnAgeThatIsNone) {
  const ProgramRun result = exceptions({"prune", "--older-than", "3m"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "'3m' is no age"));
}

}  // namespace
