#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/exceptions/ExchangeFixture.h"
#include "trustlib/CertificateWarnings.h"

namespace {

using testing::HasSubstr;
using testing::SizeIs;

class ExceptionsImport : public ExchangeTest {};

std::string replaced(std::string text, const std::string& part, const std::string& by) {
  const std::size_t at = text.find(part);
  EXPECT_NE(std::string::npos, at) << part;
  return at == std::string::npos ? text : text.replace(at, part.size(), by);
}

TEST_F(ExceptionsImport, StoresWhatTheLibraryFinds) {
  const auto family = recordsOfOneHash(3);
  const ProgramRun result = importText(documentOf(family));
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_EQ("3 stored, 0 were there already, 0 conflicts.\n", result.out);
  EXPECT_EQ(3U, countFound(store_, family));
}

TEST_F(ExceptionsImport, ReadsAFile) {
  const std::string file = directory_.write("d.json", documentOf({plainRecord("a.test")}));
  EXPECT_EQ(0, exceptions({"import", file}).status);
  EXPECT_TRUE(libraryFinds(store_, plainRecord("a.test")));
}

TEST_F(ExceptionsImport, CountsWhatIsThereAlready) {
  place(plainRecord("a.test"));
  const ProgramRun result = importText(documentOf({plainRecord("a.test"), plainRecord("b.test")}));
  EXPECT_EQ(0, result.status);
  EXPECT_EQ("1 stored, 1 was there already, 0 conflicts.\n", result.out);
}

TEST_F(ExceptionsImport, StoresADecisionThatStandsTwiceInTheDocumentOnce) {
  const auto record = plainRecord("a.test");
  EXPECT_EQ("1 stored, 1 was there already, 0 conflicts.\n",
            importText(documentOf({record, record})).out);
  EXPECT_THAT(entriesOf(store_), SizeIs(1));
}

TEST_F(ExceptionsImport, TellsNotesThatDifferAndLeavesThemAsTheyAre) {
  ExceptionRecord record = plainRecord("a.test");
  record.reason = "first";
  place(record);
  record.reason = "second";
  record.expires = 4102444800;
  const ProgramRun result = importText(documentOf({record}));
  EXPECT_EQ(1, result.status);
  EXPECT_EQ("0 stored, 0 were there already, 1 conflict.\n", result.out);
  EXPECT_TRUE(isComplaint(result.err, "conflict: decision 1, a.test, in spite of NO_TRUSTED"));
  EXPECT_TRUE(isComplaint(result.err, "another expiry and reason, which stays"));
  EXPECT_EQ("first", storedRecords().at(0).reason);
}

TEST_F(ExceptionsImport, TakesNotesThatTheDocumentLacksForNoConflict) {
  ExceptionRecord record = plainRecord("a.test");
  record.reason = "noted here";
  place(record);
  EXPECT_EQ(0, importText(documentOf({plainRecord("a.test")})).status);
}

TEST_F(ExceptionsImport, OnlyTellsWhatItWouldDoInADryRun) {
  place(plainRecord("a.test"));
  const auto record = plainRecord("b.test");
  const ProgramRun result =
      importText(documentOf({plainRecord("a.test"), record, record}), {"--dry-run"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("would store b.test, in spite of NO_TRUSTED"));
  EXPECT_THAT(result.out, HasSubstr("1 would be stored, 2 were there already, 0 conflicts.\n"));
  EXPECT_THAT(entriesOf(store_), SizeIs(1));
}

TEST_F(ExceptionsImport, HasItsJsonMembersInTheirOrder) {
  const std::string document = documentOf({plainRecord("a"), plainRecord("b")});
  const rapidjson::Document would = parseLine(importText(document, {"--dry-run", "--json"}).out);
  EXPECT_EQ("dry_run stored already_there conflicts", memberNames(would));
  EXPECT_EQ(2, would["stored"].GetInt());
  EXPECT_EQ(2, parseLine(importText(document, {"--json"}).out)["stored"].GetInt());
  EXPECT_EQ(2, parseLine(importText(document, {"--json"}).out)["already_there"].GetInt());
}

TEST_F(ExceptionsImport, TellsAnErrorInJson) {
  EXPECT_TRUE(parseLine(importText("{", {"--json"}).out).HasMember("error"));
}

TEST_F(ExceptionsImport, MakesNoStoreInADryRun) {
  importText(documentOf({plainRecord("a.test")}), {"--dry-run"});
  EXPECT_FALSE(std::filesystem::exists(store_));
}

TEST_F(ExceptionsImport, RefusesRevokedUnlessItIsTrulyMeant) {
  ExceptionRecord record = plainRecord("a.test");
  record.warnings |= CertificateWarnings::REVOKED;
  const ProgramRun result = importText(documentOf({plainRecord("b.test"), record}));
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "standard input: decision 2 accepts REVOKED"));
  EXPECT_FALSE(std::filesystem::exists(store_));
  EXPECT_EQ(0, importText(documentOf({record}), {"--even-revoked"}).status);
}

TEST_F(ExceptionsImport, GoesAroundABrokenRecordOfAnotherHash) {
  placeBytes(store_, "cx_broken.json", "{");
  EXPECT_EQ(0, importText(documentOf({plainRecord("a.test")})).status);
}

TEST_F(ExceptionsImport, NamesTheDecisionThatABrokenRecordIsInTheWayOf) {
  const auto record = plainRecord("b.test");
  placeBytes(store_, place(record), "{");
  const ProgramRun result = importText(documentOf({plainRecord("a.test"), record}));
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "standard input: decision 2 of 2: "));
  EXPECT_TRUE(isComplaint(result.err, "doctor --repair"));
}

TEST_F(ExceptionsImport, TakesMembersInAnyOrderAndNullForAbsence) {
  const std::string document = documentOf({plainRecord("a.test")});
  const std::size_t open = document.find('[');
  const std::string list = document.substr(open, document.rfind(']') + 1 - open);
  const ProgramRun result = importText(
      "{\"exceptions\":" + replaced(list, "\"warnings\"", "\"reason\":null,\"warnings\"") +
      ",\"version\":1,\"format\":\"trustlib-exceptions\"}");
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_TRUE(libraryFinds(store_, plainRecord("a.test")));
}

TEST_F(ExceptionsImport, DoesNotWaitForANamedPipe) {
  const std::string path = directory_.path("pipe");
  ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
  const ProgramRun result = exceptions({"import", path});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "is no plain file"));
}

TEST_F(ExceptionsImport, TellsAFileThatIsNotThere) {
  const ProgramRun result = exceptions({"import", "/nonexistent"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "'/nonexistent' cannot be read"));
}

// One change to a good document of two decisions, and the complaint.
struct BadDocument {
  std::function<std::string(const std::string& good)> spoil;
  const char* complaint;
};

BadDocument swapped(const std::string& part, const std::string& by, const char* complaint) {
  return {[part, by](const std::string& good) { return replaced(good, part, by); }, complaint};
}

class BadDocuments : public ExchangeTest, public testing::WithParamInterface<BadDocument> {};

TEST_P(BadDocuments, AreRefusedAsAWhole) {
  ExceptionRecord second = plainRecord("b.test", "xyz");
  second.expires = 4102444800;
  const std::string good = documentOf({plainRecord("a.test"), second});
  const ProgramRun result = importText(GetParam().spoil(good));
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, GetParam().complaint));
  EXPECT_FALSE(std::filesystem::exists(store_));
}

INSTANTIATE_TEST_SUITE_P(
    Table, BadDocuments,
    testing::Values(
        swapped("trustlib-exceptions", "other", "its \"format\" is 'other'"),
        swapped("\"version\":1", "\"version\":2", "another version than 1"),
        swapped("\"version\":1,", "", "it has no \"version\""),
        swapped("\"format\":\"trustlib-exceptions\",", "", "it has no \"format\""),
        swapped("\"version\":1", "\"version\":1,\"more\":1", "a member \"more\""),
        swapped("\"version\":1", "\"version\":1,\"version\":1", "it has \"version\" twice"),
        swapped("\"eHl6\"", "\"eHl7\"",
                "decision 2: certificate 1 of its chain: \"sha256\" is not the fingerprint"),
        swapped("\"eHl6\"", "\"eHl\"", "decision 2: certificate 1 of its chain: \"der\" is not"),
        swapped("\"warnings\":\"256\"", "\"warnings\":\"264\"",
                "decision 1: \"warning_names\" and \"warnings\" are not the same"),
        swapped("\"256\"", "256", "\"warnings\" is not of the kind"),
        swapped("\"256\"", "\"25x\"", "\"warnings\" is '25x'"),
        swapped("\"NO_TRUSTED\"", "\"NO_TRUSTD\"", "did you mean NO_TRUSTED?"),
        swapped("\"warning_names\":[\"NO_TRUSTED\"],", "", "it has no \"warning_names\""),
        swapped("\"domain\"", "\"domian\"", "did you mean domain?"),
        swapped("\"a.test\"", "\"a\\u0000.test\"", "decision 1: the domain holds a NUL"),
        swapped("\"a.test\"", "\"\\udc00\"", "decision 1: \"domain\" is no valid text"),
        swapped("\"a.test\"", "\"\xff\"", "decision 1: it is not JSON at byte"),
        swapped("\"a.test\"", "[[[[[[1]]]]]]", "\"domain\" is not of the kind"),
        swapped("2100-01-01T", "2100-13-01T", "decision 2: \"expires\" is '2100-13-01T"),
        swapped("]}\n", "]", "it is not JSON"), swapped("]}\n", "]}{", "it is not JSON"),
        BadDocument{[](const std::string& good) { return good + std::string(1, '\0'); },
                    "it goes on after its end"},
        BadDocument{[](const std::string&) { return std::string(); }, "it is not JSON at byte 0"},
        BadDocument{[](const std::string&) { return std::string("[]"); }, "not an object of"},
        BadDocument{[](const std::string&) { return std::string(100000, '['); },
                    "not an object of"},
        BadDocument{[](const std::string& good) {
                      return replaced(good, "a.test", std::string(std::size_t{17} << 20U, 'a'));
                    },
                    "decision 1: it is longer than any decision can be"}));

}  // namespace
