#include <gtest/gtest.h>

#include "tests/tools/SilentService.h"
#include "tests/tools/TrustctlFixture.h"

namespace {

// Services are running, and whoever asks them waits.
class RunningServices : public AuthorityTest {
 protected:
  RunningServices() : service_(directory_.path("run")) {
    environment_["PPS_RUNTIME_DIR"] = directory_.path("run");
  }

  SilentService service_;
};

TEST_F(RunningServices, AreAskedWithTheGivenStore) {
  const pid_t child = start(
      {"verify", "--timeout", "1", "--application", "Browser", "--class", "personal", chainFile_});
  const std::string request = service_.awaitRequest();
  EXPECT_NE(std::string::npos, request.find("\"application\":\"Browser\",\"class\":\"personal\""));
  finish(child);
}

TEST_F(RunningServices, ThatDoNotAnswerGiveNoVerdict) {
  const ProgramRun result = run({"verify", "--timeout", "1", chainFile_});
  EXPECT_EQ(3, result.status);
  EXPECT_EQ("", result.out);
  EXPECT_TRUE(isComplaint(result.err, "did not answer within 1 second;"));
}

TEST_F(RunningServices, ThatDoNotAnswerGiveAJsonError) {
  const ProgramRun result = run({"verify", "--json", "--timeout", "1", chainFile_});
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(parseLine(result.out).HasMember("error"));
}

TEST_F(RunningServices, RefuseAnchorsFromAFile) {
  const ProgramRun result = run({"verify", "--cafile", rootFile_, chainFile_});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "add --private"));
}

TEST_F(RunningServices, RefuseAnchorsFromADirectory) {
  const ProgramRun result = run({"verify", "--capath", directory_.path(), chainFile_});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "add --private"));
}

TEST_F(RunningServices, RefuseRevocationLists) {
  const std::string list = directory_.write("list.pem", CrlMaker(root_).pem());
  const ProgramRun result = run({"verify", "--crlfile", list, chainFile_});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "add --private"));
}

TEST_F(RunningServices, RefuseAnotherClock) {
  const ProgramRun result = run({"verify", "--at", "2026-01-31", chainFile_});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "add --private"));
}

TEST_F(RunningServices, AreNotAskedWithPrivateOnes) {
  const ProgramRun result = run(verifyWithRoot({"--private", chainFile_}));
  EXPECT_EQ(0, result.status) << result.err;
}

class PrivateServicesProgram : public AuthorityTest {};

TEST_F(PrivateServicesProgram, ThatIsNoneIsNamed) {
  environment_["TRUST_CERTMGRD"] = "/nonexistent/trust-certmgrd";
  const ProgramRun result = run(verifyWithRoot({chainFile_}));
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "TRUST_CERTMGRD names '/nonexistent/trust-certmgrd'"));
}

TEST_F(PrivateServicesProgram, IsLookedForBeforeItsDirectoryIsMade) {
  environment_["TRUST_CERTMGRD"] = "/nonexistent/trust-certmgrd";
  environment_["TMPDIR"] = "/proc";  // where no directory can be made
  const ProgramRun result = run(verifyWithRoot({chainFile_}));
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "TRUST_CERTMGRD names"));
}

TEST_F(PrivateServicesProgram, ThatGivesUpIsQuoted) {
  environment_["TRUST_CERTMGRD"] = script("echo 'trust-certmgrd: out of luck' >&2\nexit 3\n");
  const ProgramRun result = run(verifyWithRoot({chainFile_}));
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "did not start: out of luck"));
}

TEST_F(PrivateServicesProgram, ThatListensNowhereGivesNoVerdict) {
  environment_["TRUST_CERTMGRD"] = script("echo READY >&3\nexec sleep 1000\n");
  const ProgramRun result = run(verifyWithRoot({chainFile_}));
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "no verdict on this chain"));
  EXPECT_EQ(std::string::npos, result.err.find("--private"));
}

TEST_F(PrivateServicesProgram, CannotAnswerWithTooManyNames) {
  CertificateMaker maker("x");
  for (int i = 0; i < 900; ++i) {
    maker.dns(std::to_string(1000 + i) + ".long-name.example");
  }
  const ProgramRun result = run({"verify", directory_.write("names.pem", maker.make().pem())});
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "carry more names than"));
}

}  // namespace
