#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/exceptions/ExchangeFixture.h"
#include "tools/trustctl/exceptions/NewFile.h"
#include "tools/trustctl/exceptions/RecordText.h"

namespace {

using testing::HasSubstr;

class ExceptionsExport : public ExchangeTest {
 protected:
  std::string file_ = directory_.path("decisions.json");
};

TEST_F(ExceptionsExport, WritesOneDecisionALineSortedByDomain) {
  place(plainRecord("b.test"));
  place(plainRecord("A.test"));
  const ProgramRun result = exceptions({"export", "-"});
  EXPECT_EQ(0, result.status);
  EXPECT_EQ(documentOf({plainRecord("A.test"), plainRecord("b.test")}), result.out);
}

TEST_F(ExceptionsExport, HasTheseMembers) {
  ExceptionRecord record = plainRecord("a.test");
  record.created = 0;
  record.expires = 86400;
  record.reason = "why";
  place(record);
  EXPECT_EQ(
      "{\"format\":\"trustlib-exceptions\",\"version\":1,\"exceptions\":[\n"
      "{\"domain\":\"a.test\",\"warnings\":\"256\",\"warning_names\":[\"NO_TRUSTED\"],"
      "\"chain\":[{\"sha256\":\"" +
          sha256Of({'a', 'b', 'c'}) +
          "\",\"der\":\"YWJj\"}],\"created\":\"1970-01-01T00:00:00Z\","
          "\"expires\":\"1970-01-02T00:00:00Z\",\"reason\":\"why\"}\n]}\n",
      exceptions({"export", "-"}).out);
}

TEST_F(ExceptionsExport, IsPlainAscii) {
  place(plainRecord("\xc3\xb6\xe2\x80\xae\xf0\x9f\x98\x80\x7f.test"));
  EXPECT_THAT(exceptions({"export", "-"}).out,
              HasSubstr("\"domain\":\"\\u00f6\\u202e\\ud83d\\ude00\\u007f.test\""));
}

TEST_F(ExceptionsExport, TakesOnlyTheDomainsAskedFor) {
  place(plainRecord("a.test"));
  place(plainRecord("a.example"));
  const ProgramRun result = exceptions({"export", "--domain", "*.EXAMPLE", "-"});
  EXPECT_EQ(documentOf({plainRecord("a.example")}), result.out);
}

TEST_F(ExceptionsExport, OfNothingIsADocumentAllTheSame) {
  EXPECT_EQ(0, exceptions({"export", file_}).status);
  EXPECT_EQ(documentOf({}), readFile(file_));
}

TEST_F(ExceptionsExport, WritesAFileAndNothingBesideIt) {
  place(plainRecord("a.test"));
  const std::string file = directory_.path("out/decisions.json");
  std::filesystem::create_directory(directory_.path("out"));
  EXPECT_EQ(0, exceptions({"export", file}).status);
  EXPECT_EQ(documentOf({plainRecord("a.test")}), readFile(file));
  EXPECT_EQ(std::vector<std::string>{file}, filesBelow(directory_.path("out")));
}

TEST_F(ExceptionsExport, NeverWritesOverAFile) {
  directory_.write("decisions.json", "mine");
  const ProgramRun result = exceptions({"export", file_});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "is there already and is not written over"));
  EXPECT_EQ("mine", readFile(file_));
}

TEST_F(ExceptionsExport, IsNotStoppedByWhatAKilledRunOfItsNumberLeft) {
  const std::string left = directory_.path(".new.json." + std::to_string(getpid()) + ".new");
  std::ofstream(left) << "half";
  NewFile file(directory_.path("new.json"));
  file.write("whole");
  file.finish();
  EXPECT_EQ("whole", readFile(directory_.path("new.json")));
  EXPECT_EQ("half", readFile(left));
}

TEST_F(ExceptionsExport, TellsADirectoryThatIsNotThere) {
  const ProgramRun result = exceptions({"export", directory_.path("none/decisions.json")});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "there is no directory"));
}

TEST_F(ExceptionsExport, TellsThatThereIsNoRoomForTheDocument) {
  place(plainRecord("a.test", std::string(2000, 'x')));
  inChild_ = [] {
    constexpr rlimit small = {1000, 1000};
    setrlimit(RLIMIT_FSIZE, &small);
    (void)signal(SIGXFSZ, SIG_IGN);  // an error instead
  };
  const ProgramRun result = exceptions({"export", "-"});
  EXPECT_EQ(3, result.status);
  EXPECT_EQ("", result.out);
  EXPECT_TRUE(isComplaint(result.err,
                          "cannot keep the document in a temporary file (TMPDIR): File too large; "
                          "free some space, or export to a file"));
}

TEST_F(ExceptionsExport, WritesTheRestWhereARecordCannotBeRead) {
  place(plainRecord("a.test"));
  placeBytes(store_, "cx_broken.json", "{");
  const ProgramRun result = exceptions({"export", file_});
  EXPECT_EQ(3, result.status);
  EXPECT_THAT(result.err, HasSubstr("'cx_broken.json' is left out"));
  EXPECT_THAT(result.err, HasSubstr("1 record could not be exported, all others were"));
  EXPECT_EQ(documentOf({plainRecord("a.test")}), readFile(file_));
}

TEST_F(ExceptionsExport, LeavesOutWhatNoDocumentCanHold) {
  place(plainRecord("a.test"));
  place(plainRecord("b\xff"));
  const ProgramRun result = exceptions({"export", file_});
  EXPECT_EQ(3, result.status);
  EXPECT_THAT(result.err, HasSubstr("its domain is no valid UTF-8"));
  EXPECT_EQ(documentOf({plainRecord("a.test")}), readFile(file_));
}

TEST_F(ExceptionsExport, TakesDecisionsThatGoMeanwhileForNoFailure) {
  std::vector<std::string> names;
  for (int i = 0; i < 500; ++i) {
    names.push_back(place(plainRecord(std::to_string(i))));
  }
  const pid_t child = start(commandLine({"export", "-"}));
  for (const std::string& name : names) {
    std::filesystem::remove(store_ + "/" + name);
  }
  const ProgramRun result = finish(child);
  EXPECT_EQ(0, result.status);
  EXPECT_EQ("", result.err);
}

TEST_F(ExceptionsExport, ReadsBackAsItWas) {
  ExceptionRecord record = plainRecord("\xc3\xb6\"\\\x01.test");
  record.warnings = ~0ULL;
  record.expires = 4102444800;
  record.reason = "\xf0\x9f\x98\x80\n";
  ExceptionRecord nameless = plainRecord("");
  nameless.domain.reset();
  place(record);
  place(nameless);
  const std::string document = exceptions({"export", "-"}).out;
  store_ = directory_.path("other");
  EXPECT_EQ(0, importText(document, {"--even-revoked"}).status);
  EXPECT_EQ(document, exceptions({"export", "-"}).out);
  EXPECT_TRUE(libraryFinds(store_, record));
  EXPECT_TRUE(libraryFinds(store_, nameless));
}

}  // namespace
