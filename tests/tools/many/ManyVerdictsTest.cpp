// verify on many inputs: directories, and lists of domains and files.

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SendSignal.h"
#include "tests/tools/SilentService.h"
#include "tests/tools/TrustctlFixture.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class ManyVerdicts : public AuthorityTest {
 protected:
  // A chain that is good for www.example.test, below the directory "chains".
  std::string good(const std::string& name) {
    return directory_.write("chains/" + name, leaf_.pem() + inter_.pem());
  }

  std::string expired(const std::string& name) {
    return directory_.write("chains/" + name, CertificateMaker("www.example.test")
                                                      .asServer()
                                                      .dns("www.example.test")
                                                      .notAfter("20210101000000Z")
                                                      .issuedBy(inter_)
                                                      .make()
                                                      .pem() +
                                                  inter_.pem());
  }

  static std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) out.push_back(line);
    return out;
  }

  std::string chains_ = directory_.path("chains");
};

TEST_F(ManyVerdicts, EveryFileBelowADirectoryIsAChainOfItsOwn) {
  good("b.pem");
  good("a.pem");
  good("below/c.pem");
  const ProgramRun result =
      run(verifyWithRoot({"--domain", "www.example.test", "--json", chains_}));
  EXPECT_EQ(0, result.status) << result.err;
  std::vector<std::string> inputs;
  for (const std::string& line : lines(result.out)) {
    const rapidjson::Document report = parseLine(line + "\n");
    EXPECT_TRUE(report["trusted"].GetBool());
    EXPECT_STREQ("www.example.test", report["domain"].GetString());
    inputs.push_back(fs::path(report["input"].GetString()).lexically_relative(chains_));
  }
  EXPECT_THAT(inputs, ElementsAre("a.pem", "b.pem", "below/c.pem"));
}

TEST_F(ManyVerdicts, HiddenFilesAreNoInputs) {
  good("a.pem");
  directory_.write("chains/.hidden", "nothing");
  directory_.write("chains/.git/config", "nothing");
  EXPECT_EQ(0, run(verifyWithRoot({chains_})).status);
}

TEST_F(ManyVerdicts, ListNamesADomainForEachFile) {
  const std::string list = directory_.write(
      "list", "# servers\n\nwww.example.test\t" + good("a.pem") + "\nother.test\t" + good("b.pem") +
                  "\r\n\t" + good("c.pem") + "\n");
  const ProgramRun result = run(verifyWithRoot({"--from", list, "--json"}));
  EXPECT_EQ(1, result.status);
  const std::vector<std::string> reports = lines(result.out);
  ASSERT_EQ(3U, reports.size()) << result.err;
  EXPECT_TRUE(parseLine(reports[0] + "\n")["trusted"].GetBool());
  EXPECT_STREQ("DOMAINNAME_MISMATCH", parseLine(reports[1] + "\n")["warnings"][0].GetString());
  EXPECT_FALSE(parseLine(reports[2] + "\n").HasMember("domain"));
}

TEST_F(ManyVerdicts, ListMayComeFromStandardInput) {
  const ProgramRun result =
      run(verifyWithRoot({"--from", "-"}), "www.example.test\t" + good("a.pem") + "\n");
  EXPECT_EQ(0, result.status) << result.err;
}

TEST_F(ManyVerdicts, LineWithoutATabIsRefusedByItsNumberBeforeAnythingIsJudged) {
  const ProgramRun result = run(verifyWithRoot({"--from", "-"}),
                                "www.example.test\t" + good("a.pem") + "\nwww.example.test x\n");
  EXPECT_EQ(2, result.status);
  EXPECT_EQ("", result.out);
  EXPECT_TRUE(isComplaint(result.err, "standard input, line 2: 'www.example.test x' is not"));
}

TEST_F(ManyVerdicts, DomainThatIsNoneIsRefusedByItsLine) {
  const ProgramRun result = run(verifyWithRoot({"--from", "-"}), "https://x.test\tfile\n");
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "line 1: 'https://x.test' is not a domain"));
}

TEST_F(ManyVerdicts, StandardInputInAListIsRefusedByItsLine) {
  const ProgramRun result =
      run(verifyWithRoot({"--from", directory_.write("list", "www.example.test\t-\n")}),
          leaf_.pem() + inter_.pem());
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "line 1: standard input cannot be one of many inputs"));
}

TEST_F(ManyVerdicts, ZeroByteInAListIsRefusedByItsLine) {
  const std::string line = "www.example.test\t" + good("a.pem") + std::string(1, '\0') + "x\n";
  const ProgramRun result = run(verifyWithRoot({"--from", "-"}), line);
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "standard input, line 1: a zero byte"));
}

TEST_F(ManyVerdicts, RefusalOfTheListIsToldInJsonToo) {
  const ProgramRun result = run(verifyWithRoot({"--from", "-", "--json"}), "no tab\n");
  EXPECT_EQ(2, result.status);
  EXPECT_THAT(parseLine(result.out)["error"].GetString(), HasSubstr("line 1"));
  EXPECT_TRUE(isComplaint(result.err, "line 1"));
}

TEST_F(ManyVerdicts, TextTellsEachVerdictAndItsWarnings) {
  good("a.pem");
  expired("b.pem");
  const ProgramRun result = run(verifyWithRoot({"--domain", "www.example.test", chains_}));
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("TRUSTED      " + chains_ +
                                    "/a.pem\n"
                                    "             for www.example.test\n"
                                    "NOT TRUSTED  " +
                                    chains_ +
                                    "/b.pem\n"
                                    "             for www.example.test\n"
                                    "             CERT_EXPIRY\n"));
}

TEST_F(ManyVerdicts, SummaryCountsVerdictsAndWarnings) {
  good("a.pem");
  expired("b.pem");
  expired("c.pem");
  directory_.write("chains/d.pem", "no certificate");
  const ProgramRun result = run(verifyWithRoot({chains_}));
  EXPECT_THAT(result.out, HasSubstr("4 chains: 1 trusted, 2 not trusted, 1 without a verdict\n"
                                    "       2  CERT_EXPIRY\n"));
}

TEST_F(ManyVerdicts, InputThatCannotBeUsedStopsNoOther) {
  directory_.write("chains/a.pem", "no certificate");
  good("b.pem");
  const ProgramRun result = run(verifyWithRoot({"--json", chains_}));
  EXPECT_EQ(2, result.status);
  const std::vector<std::string> reports = lines(result.out);
  ASSERT_EQ(2U, reports.size());
  EXPECT_THAT(parseLine(reports[0] + "\n")["error"].GetString(), HasSubstr("holds no certificate"));
  EXPECT_TRUE(parseLine(reports[1] + "\n")["trusted"].GetBool());
}

TEST_F(ManyVerdicts, StoredDecisionsCount) {
  expired("b.pem");
  const std::string store = directory_.path("store");
  ASSERT_EQ(0, run(verifyWithRoot({"--domain", "www.example.test", "--store", store, "--dialog",
                                   "policy:always", chains_ + "/b.pem"}))
                   .status);
  const ProgramRun result =
      run(verifyWithRoot({"--domain", "www.example.test", "--store", store, chains_}));
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("1 trusted (1 by your decision)"));
}

TEST_F(ManyVerdicts, OrderIsTheSameHoweverManyAreJudgedAtATime) {
  for (int i = 0; i < 40; ++i) good(std::to_string(100 + i) + ".pem");
  const ProgramRun one = run(verifyWithRoot({"--jobs", "1", chains_}));
  const ProgramRun many = run(verifyWithRoot({"--jobs", "8", chains_}));
  EXPECT_EQ(0, many.status) << many.err;
  EXPECT_EQ(one.out, many.out);
}

TEST_F(ManyVerdicts, QuestionsAreRefused) {
  good("a.pem");
  const ProgramRun result = run(verifyWithRoot({"--dialog", "policy:once", chains_}));
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "--dialog asks about one chain"));
}

TEST_F(ManyVerdicts, EmptyDirectoryIsWrongUse) {
  fs::create_directories(chains_);
  const ProgramRun result = run(verifyWithRoot({chains_}));
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "no file to judge"));
}

TEST_F(ManyVerdicts, LongPathIsShownWholeInLinesThatFit) {
  const std::string name = std::string(120, 'p') + ".pem";
  good(name);
  std::string path;
  for (const std::string& line : lines(run(verifyWithRoot({chains_})).out)) {
    EXPECT_LE(line.size(), 80U);
    path += line.substr(std::min<std::size_t>(13, line.size()));
  }
  EXPECT_THAT(path, HasSubstr("/" + name));
}

TEST_F(ManyVerdicts, DirectoryThatCannotBeReadIsNamed) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "root may read every directory";
  }
  good("below/a.pem");
  const std::string locked = chains_ + "/below";
  fs::permissions(locked, fs::perms::none);
  const ProgramRun result = run(verifyWithRoot({chains_}));
  fs::permissions(locked, fs::perms::owner_all);
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "the directory '" + locked + "' cannot be read"));
}

TEST_F(ManyVerdicts, PathsCannotForgeLines) {
  good("a\nTRUSTED      b.pem");
  EXPECT_THAT(run(verifyWithRoot({chains_})).out, Not(HasSubstr("\nTRUSTED      b.pem")));
}

TEST_F(ManyVerdicts, SignalEndsTheWaitsOfAllAtOnce) {
  for (int i = 0; i < 8; ++i) good(std::to_string(i) + ".pem");
  SilentService service(directory_.path("run"));
  environment_["PPS_RUNTIME_DIR"] = directory_.path("run");
  const pid_t child = start({"verify", "--jobs", "4", "--timeout", "86400", chains_});
  service.awaitRequest();
  sendSignal(child, SIGINT);
  EXPECT_EQ(-SIGINT, finish(child).status);
  fs::remove_all(home_ + "/tmp");
}

}  // namespace
