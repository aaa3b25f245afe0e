#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/TrustctlFixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

class CommandLine : public TrustctlTest {};

TEST_F(CommandLine, HelpTeachesWithExamplesAndExitStatus) {
  const ProgramRun result = run({"--help"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("trustctl verify --domain example.org chain.pem"));
  EXPECT_THAT(result.out, HasSubstr("Exit status: 0 trusted"));
  EXPECT_EQ("", result.err);
}

TEST_F(CommandLine, HelpOfVerifyTeachesItsOptions) {
  const ProgramRun result = run({"verify", "--help"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("--cafile FILE"));
  EXPECT_THAT(result.out, HasSubstr("Exit status: 0 trusted"));
}

TEST_F(CommandLine, HelpOfExplainHasExamples) {
  const ProgramRun result = run({"explain", "--help"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("trustctl explain CERT_EXPIRY"));
}

TEST_F(CommandLine, VersionIsOneLine) {
  const ProgramRun result = run({"--version"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, MatchesRegex("trustctl [0-9.]+\n"));
}

TEST_F(CommandLine, WithoutACommandSaysWhatThereIs) {
  const ProgramRun result = run({});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "say what to do: verify, "));
}

TEST_F(CommandLine, SuggestsTheCommandThatWasMeant) {
  const ProgramRun result = run({"verfiy", "x.pem"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "'verfiy' (did you mean verify?)"));
}

TEST_F(CommandLine, SuggestsNothingForAForeignCommand) {
  const ProgramRun result = run({"banana"});
  EXPECT_EQ(2, result.status);
  EXPECT_EQ(std::string::npos, result.err.find("did you mean"));
}

TEST_F(CommandLine, EscapesAForeignCommand) {
  const ProgramRun result = run({"\x1b[2J\n"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "'\\x1b[2J\\x0a'"));
}

TEST_F(CommandLine, EscapesAForeignOption) {
  const ProgramRun result = run({"verify", "--\x1b[2J\n", "x.pem"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "\\x1b[2J"));
}

TEST_F(CommandLine, SaysWhenTheOutputIsLost) {
  const ProgramRun result = finish(start({"explain"}, "", "/dev/full"));
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "the output cannot be written"));
}

TEST_F(CommandLine, SaysWhenThereIsNoOutputToWriteTo) {
  const std::string complaint = directory_.path("complaint");
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addclose(&files, STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&files, STDERR_FILENO, complaint.c_str(), O_WRONLY | O_CREAT,
                                   0600);
  std::string program = TRUSTCTL_PROGRAM;
  std::string word = "explain";
  char* const words[] = {program.data(), word.data(), nullptr};
  pid_t child = 0;
  ASSERT_EQ(0, posix_spawn(&child, program.c_str(), &files, nullptr, words, environ));
  posix_spawn_file_actions_destroy(&files);
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(3, WEXITSTATUS(status));
  std::ifstream said(complaint);
  EXPECT_TRUE(isComplaint({std::istreambuf_iterator<char>(said), {}}, "the output cannot be"));
}

TEST_F(CommandLine, ExplainsAWarningToProgramsByTheseMembers) {
  const ProgramRun result = run({"explain", "--json", "no_trusted"});
  EXPECT_EQ(0, result.status);
  const rapidjson::Document warning = parseLine(result.out);
  std::vector<std::string> members;
  for (const auto& member : warning.GetObject()) {
    members.emplace_back(member.name.GetString());
    EXPECT_NE(0U, member.value.GetStringLength());
  }
  EXPECT_THAT(members, ElementsAre("name", "summary", "meaning", "attack", "cause", "next"));
  EXPECT_STREQ("NO_TRUSTED", warning["name"].GetString());
}

TEST_F(CommandLine, ExplainsAllWarningsToProgramsOneALine) {
  const ProgramRun result = run({"explain", "--json"});
  EXPECT_EQ(0, result.status);
  EXPECT_EQ(14, std::count(result.out.begin(), result.out.end(), '\n'));
  EXPECT_THAT(result.out, StartsWith("{\"name\":"));
}

TEST_F(CommandLine, ExplainsAllWarnings) {
  const ProgramRun result = run({"explain"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("  BC_NOT_CRITICAL\n"));
  EXPECT_THAT(result.out, HasSubstr("  DOMAINNAME_MISMATCH\n"));
}

TEST_F(CommandLine, ExplainsThatUnreadableExtensionsLeaveAChainUntrusted) {
  EXPECT_THAT(run({"explain", "NO_TRUSTED"}).out, HasSubstr("extensions that cannot be read"));
}

TEST_F(CommandLine, ExplainsOneWarningInFull) {
  const ProgramRun result = run({"explain", "no_trusted"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, StartsWith("NO_TRUSTED\n"));
  EXPECT_THAT(result.out, HasSubstr("What it means\n"));
  EXPECT_THAT(result.out, HasSubstr("What an attacker could do\n"));
  EXPECT_THAT(result.out, HasSubstr("The usual innocent cause\n"));
  EXPECT_THAT(result.out, HasSubstr("What to do\n"));
}

TEST_F(CommandLine, SuggestsTheWarningThatWasMeant) {
  const ProgramRun result = run({"explain", "CERT_EXPIRED"});
  EXPECT_EQ(2, result.status);
  EXPECT_EQ("", result.out);
  EXPECT_TRUE(isComplaint(result.err, "did you mean CERT_EXPIRY?"));
}

}  // namespace
