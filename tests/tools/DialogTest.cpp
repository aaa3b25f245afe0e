// What verify makes of a user's decision. The fixed answers stand for the user; the terminal has
// a test of its own.

#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/TrustctlFixture.h"

namespace fs = std::filesystem;

namespace {

using testing::HasSubstr;

class DialogChoices : public AuthorityTest {
 protected:
  // A chain that only a decision can make trusted, for www.example.test.
  ProgramRun verify(const std::vector<std::string>& more) {
    std::vector<std::string> arguments = {
        "verify",  "--domain", "www.example.test", "--capath", directory_.path("roots"),
        "--store", store_};
    arguments.insert(arguments.end(), more.begin(), more.end());
    arguments.push_back(chainFile_);
    return run(arguments);
  }

  void SetUp() override {
    AuthorityTest::SetUp();
    directory_.write("roots/other.pem", CertificateMaker("Other Root").asCa().make().pem());
  }

  std::string store_ = directory_.path("store");
};

TEST_F(DialogChoices, WithoutATerminalNobodyIsAsked) {
  const ProgramRun result = verify({"--json"});
  EXPECT_EQ(1, result.status);
  EXPECT_FALSE(parseLine(result.out).HasMember("decision"));
  EXPECT_FALSE(fs::exists(store_));
}

TEST_F(DialogChoices, DeclinedIsNotTrusted) {
  const ProgramRun result = verify({"--dialog", "policy:decline", "--json"});
  EXPECT_EQ(1, result.status);
  const rapidjson::Document report = parseLine(result.out);
  EXPECT_STREQ("declined", report["decision"].GetString());
  EXPECT_FALSE(report["trusted"].GetBool());
}

TEST_F(DialogChoices, OnceIsTrustedAndForgotten) {
  const ProgramRun result = verify({"--dialog", "policy:once", "--json"});
  EXPECT_EQ(0, result.status);
  const rapidjson::Document report = parseLine(result.out);
  EXPECT_STREQ("once", report["decision"].GetString());
  EXPECT_TRUE(report["trusted"].GetBool());
  EXPECT_FALSE(report["by_exception"].GetBool());
  EXPECT_EQ(1, verify({}).status);
}

TEST_F(DialogChoices, AlwaysIsTrustedAndRemembered) {
  const ProgramRun first = verify({"--dialog", "policy:always", "--json"});
  EXPECT_EQ(0, first.status);
  EXPECT_STREQ("always", parseLine(first.out)["decision"].GetString());
  const ProgramRun second = verify({"--dialog", "policy:decline", "--json"});
  EXPECT_EQ(0, second.status);
  const rapidjson::Document report = parseLine(second.out);
  EXPECT_TRUE(report["by_exception"].GetBool());
  EXPECT_FALSE(report.HasMember("decision"));
  EXPECT_STREQ("NO_TRUSTED", report["warnings"][0].GetString());
}

TEST_F(DialogChoices, ReportTellsWhatWasDecided) {
  EXPECT_THAT(verify({"--dialog", "policy:decline"}).out,
              HasSubstr("was declined, or reached nobody"));
  EXPECT_THAT(verify({"--dialog", "policy:once"}).out, HasSubstr("You trust it this once"));
  EXPECT_THAT(verify({"--dialog", "policy:always"}).out, HasSubstr("the decision is stored"));
  EXPECT_THAT(verify({}).out, HasSubstr("A stored decision of yours"));
}

TEST_F(DialogChoices, DecisionsAreKeptInTheHomeDirectoryByDefault) {
  const std::vector<std::string> common = {"--domain", "www.example.test", "--capath",
                                           directory_.path("roots"), chainFile_};
  std::vector<std::string> arguments = {"verify", "--dialog", "policy:always"};
  arguments.insert(arguments.end(), common.begin(), common.end());
  EXPECT_EQ(0, run(arguments).status);
  EXPECT_EQ(1U, filesBelow(home_ + "/vallorin/certexcept").size());
  arguments[2] = "policy:decline";
  EXPECT_EQ(0, run(arguments).status);
  fs::remove_all(home_ + "/vallorin");
}

TEST_F(DialogChoices, TrustedChainIsNotAskedAbout) {
  const ProgramRun result =
      run(verifyWithRoot({"--domain", "www.example.test", "--dialog", "policy:decline", "--store",
                          store_, "--json", chainFile_}));
  EXPECT_EQ(0, result.status);
  EXPECT_FALSE(parseLine(result.out).HasMember("decision"));
}

TEST_F(DialogChoices, RevokedChainIsNotAskedAbout) {
  const std::string list = directory_.write("crl.pem", CrlMaker(inter_).revoke(leaf_).pem());
  const ProgramRun result =
      run(verifyWithRoot({"--crlfile", list, "--domain", "www.example.test", "--dialog",
                          "policy:always", "--store", store_, "--json", chainFile_}));
  EXPECT_EQ(1, result.status);
  EXPECT_FALSE(parseLine(result.out).HasMember("decision"));
}

TEST_F(DialogChoices, TerminalThatIsNotThereDeclines) {
  const ProgramRun result = verify({"--dialog", "terminal", "--json"});
  EXPECT_EQ(1, result.status);
  EXPECT_STREQ("declined", parseLine(result.out)["decision"].GetString());
}

TEST_F(DialogChoices, UnknownFaceIsWrongUse) {
  const ProgramRun result = verify({"--dialog", "policy:maybe"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "policy:maybe"));
}

TEST_F(DialogChoices, AskingAndNotAskingExcludeEachOther) {
  EXPECT_EQ(2, verify({"--no-dialog", "--dialog", "policy:once"}).status);
}

TEST_F(DialogChoices, QuestionAboutAnotherTimeIsWrongUse) {
  const ProgramRun result = verify({"--dialog", "policy:once", "--at", "2026-01-31"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "--at"));
}

TEST_F(DialogChoices, EmptyStoreNameIsWrongUse) {
  EXPECT_EQ(2, run({"verify", "--store", "", chainFile_}).status);
}

TEST_F(DialogChoices, StoreThatCannotBeMadeGivesNoVerdict) {
  store_ = directory_.write("file", "") + "/store";
  const ProgramRun result = verify({"--dialog", "policy:always"});
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "cannot open the store of decisions"));
}

// Where nobody needs to be asked, nothing needs to be remembered.
TEST_F(DialogChoices, StoreThatCannotBeMadeDoesNotMatterForATrustedChain) {
  const std::string store = directory_.write("file", "") + "/store";
  EXPECT_EQ(0,
            run(verifyWithRoot({"--dialog", "policy:once", "--store", store, chainFile_})).status);
}

TEST_F(DialogChoices, StoreIsNotMadeForATrustedChain) {
  EXPECT_EQ(0,
            run(verifyWithRoot({"--dialog", "policy:once", "--store", store_, chainFile_})).status);
  EXPECT_FALSE(fs::exists(store_));
}

TEST_F(DialogChoices, MissingDialogServiceIsNamed) {
  environment_["TRUST_DIALOGD"] = directory_.path("nothing");
  const ProgramRun result = verify({"--dialog", "policy:once"});
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "TRUST_DIALOGD names"));
}

TEST_F(DialogChoices, DialogServiceIsNotNeededForATrustedChain) {
  environment_["TRUST_DIALOGD"] = directory_.path("nothing");
  EXPECT_EQ(0,
            run(verifyWithRoot({"--dialog", "policy:once", "--store", store_, chainFile_})).status);
}

}  // namespace
