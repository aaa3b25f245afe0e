// What the real program tells whoever runs it, and how it makes answers fit.
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/services/certmgr/CertmgrdFixture.h"
#include "tests/support/SendSignal.h"

namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::StartsWith;

TEST_F(CertmgrdTest, NamesThatAWildcardCoversMakeRoomInALongAnswer) {
  start();
  CertificateMaker maker("x");
  for (int i = 0; i < 900; ++i) maker.dns(std::to_string(1000 + i) + ".long-name.example");
  maker.dns("*.long-name.example").email("a@long-name.example");
  EXPECT_THAT(ask(request({write("leaf.der", maker.make())})),
              HasSubstr(R"("subjectAltNames":["DNS:*.long-name.example"])"));
}

TEST_F(CertmgrdTest, CertificateOfMoreHostsThanAnAnswerHoldsIsAnErrorThatSaysSo) {
  start();
  CertificateMaker maker("x");
  for (int i = 0; i < 900; ++i) maker.dns(std::to_string(1000 + i) + ".long-name.example");
  EXPECT_EQ("err::the certificate names 900 hosts, more than an answer of 16383 bytes holds\n",
            ask(request({write("leaf.der", maker.make())})));
}

TEST_F(CertmgrdTest, DecisionIsOneLineThatTellsWhoAskedAndWhatCameOut) {
  addToHashedDirectory(store_, root);
  start();
  ask(request({write("leaf.der", leafByRoot())}));
  const std::string asker =
      " pid=" + std::to_string(getpid()) + " uid=" + std::to_string(getuid()) + " ";
  EXPECT_THAT(service_->errors(),
              ContainsRegex("trust-certmgrd: decision verdict=VALID application=common "
                            "class=user_trusted" +
                            asker +
                            "leaf=leaf.example serial=ab01 "
                            "sha256=[0-9a-f]{64} warnings=\"\" findings=\"\" remembered=no "
                            "gave_up=no us=[0-9]+ path=\"leaf.example.* < Root.*\"\n"));
}

TEST_F(CertmgrdTest, DecisionThatWasKnownIsCalledRemembered) {
  addToHashedDirectory(store_, root);
  start();
  const std::string text = request({write("leaf.der", leafByRoot())});
  ask(text);
  ask(text);
  EXPECT_THAT(service_->errors(), HasSubstr(" remembered=yes "));
}

TEST_F(CertmgrdTest, RefusedRequestIsOneLine) {
  start();
  ask("msg::show\n");
  EXPECT_THAT(service_->errors(), HasSubstr("trust-certmgrd: refused err=\"unknown message"));
}

TEST_F(CertmgrdTest, LevelLeavesOutLessImportantLines) {
  start({"--no-system-anchors", "--log-level=error"});
  ask("msg::show\n");
  ask(request({write("leaf.der", leafByRoot())}));
  EXPECT_EQ("", service_->errors());
}

TEST_F(CertmgrdTest, DebugLevelTellsTheEvidenceOfEachFinding) {
  start({"--no-system-anchors", "--log-level=debug"});
  ask(request({write("leaf.der", leafByRoot())}));
  EXPECT_THAT(service_->errors(), HasSubstr("\ntrust-certmgrd: finding reason=no_anchor member=0 "
                                            "certificate=leaf.example evidence="));
}

TEST_F(CertmgrdTest, PrivateServiceSaysNothingOfItsDecisions) {
  start({"--no-system-anchors", "--ephemeral", "--runtime-dir=" + files_.path("run")});
  ask(request({write("leaf.der", leafByRoot())}));
  EXPECT_EQ("", service_->errors());
}

TEST_F(CertmgrdTest, LevelThatIsNoneIsWrongUse) {
  ServiceProcess service({"--log-level=loud"});
  EXPECT_EQ(2, service.wait());
  EXPECT_THAT(service.errors(), HasSubstr("not error, warning, info or debug"));
}

TEST_F(CertmgrdTest, CountersTellWhatWasAnswered) {
  addToHashedDirectory(store_, root);
  start({"--no-system-anchors", "--workers=1"});
  const std::string valid = request({write("leaf.der", leafByRoot())});
  ask(valid);
  ask(valid);
  ask(request({write("other.der", CertificateMaker("a").asServer().make())}));
  ask("nonsense");
  const std::string answer = ask("msg::getcounters\nid::17\n");
  EXPECT_THAT(answer, StartsWith("res::getcounters\nid::17\ndat:json:{\"requests\":\"5\","
                                 "\"errors\":\"1\",\"valid\":\"2\",\"invalid\":\"1\","
                                 "\"remembered\":\"1\",\"gaveUp\":\"0\",\"storeLoads\":\""));
  EXPECT_THAT(answer, HasSubstr("\"NO_TRUSTED\":\"1\""));
}

TEST_F(CertmgrdTest, CountersAreReadWithTheMembersInAnyOrder) {
  start();
  EXPECT_THAT(ask("id::x\nmsg::getcounters\n"), StartsWith("res::getcounters\nid::x\ndat:json:"));
}

TEST_F(CertmgrdTest, DescriptorWithoutCountersIsRefused) {
  ServiceProcess service({"--no-system-anchors", "--counters-fd=2"});
  EXPECT_EQ(1, service.wait());
  EXPECT_THAT(service.errors(), StartsWith("trust-certmgrd: cannot share counters: "));
}

TEST_F(CertmgrdTest, CheckOfAStoreInOrderEndsWithStatusZero) {
  const std::string file = addToHashedDirectory(store_, root);
  chmod(store_.c_str(), 0755);
  chmod(file.c_str(), 0644);
  ServiceProcess check({"--check-store=" + store_});
  EXPECT_EQ(0, check.wait());
}

TEST_F(CertmgrdTest, CheckOfAStoreWithAProblemEndsWithStatusOne) {
  files_.write("stores/common/user_trusted/root.pem", root.pem());
  ServiceProcess check({"--check-store=" + store_});
  EXPECT_EQ(1, check.wait());
}

TEST_F(CertmgrdTest, CheckOfAStoreThatIsMissingEndsWithStatusTwo) {
  ServiceProcess check({"--check-store=" + files_.path("gone")});
  EXPECT_EQ(2, check.wait());
  EXPECT_EQ("trust-certmgrd: cannot read the directory " + files_.path("gone") +
                ": No such file or directory\n",
            check.errors());
}

// It writes more than the reader takes, and so waits until it is ended.
TEST_F(CertmgrdTest, CheckOfAStoreCanBeEnded) {
  for (int i = 0; i < 1000; ++i) files_.write("many/" + std::to_string(i) + ".pem", "x");
  int ends[2];
  ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
  OwnedFd readEnd(ends[0]);
  OwnedFd writeEnd(ends[1]);
  const pid_t child = fork();
  if (child == 0) {
    dup2(writeEnd.get(), STDOUT_FILENO);
    execl(CERTMGRD, "trust-certmgrd", "--check-store", files_.path("many").c_str(), nullptr);
    _exit(127);
  }
  writeEnd = OwnedFd();
  pollfd event = {readEnd.get(), POLLIN, 0};
  poll(&event, 1, -1);
  sendSignal(child, SIGTERM);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(SIGTERM, WTERMSIG(status));
}

TEST_F(CertmgrdTest, ExplanationOfAValidChainEndsWithStatusZero) {
  addToHashedDirectory(store_, root);
  ServiceProcess explained({"--root=" + files_.path("stores"), "--no-system-anchors",
                            "--explain=" + write("leaf.der", leafByRoot())});
  EXPECT_EQ(0, explained.wait());
}

TEST_F(CertmgrdTest, ExplanationOfAnInvalidChainEndsWithStatusOne) {
  addToHashedDirectory(store_, root);
  ServiceProcess explained({"--root=" + files_.path("stores"), "--no-system-anchors",
                            "--application=other", "--class=store",
                            "--explain=" + write("leaf.der", leafByRoot())});
  EXPECT_EQ(1, explained.wait());
}

TEST_F(CertmgrdTest, ExplanationOfWhatIsNoCertificateEndsWithStatusTwo) {
  const std::string file = files_.write("text", "no certificate");
  ServiceProcess explained({"--no-system-anchors", "--explain=" + file});
  EXPECT_EQ(2, explained.wait());
  EXPECT_EQ("trust-certmgrd: cannot use the file " + file +
                ": it holds no certificate in DER or PEM form\n",
            explained.errors());
}

}  // namespace
