// The real program, run by root, and another user who asks it.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "tests/services/dialog/DialogdFixture.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr uid_t kStranger = 64123;

class DialogdUserTest : public DialogdTest {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root serves others";
    std::filesystem::permissions(files_.path(), std::filesystem::perms(0777));
    options_.user = kStranger;
    options_.terminal = terminal_.path();
  }

  PseudoTerminal terminal_{geteuid() == 0 ? kStranger : geteuid()};
  DialogAsker::Options options_;
};

TEST_F(DialogdUserTest, FileThatHeCannotReadIsAnError) {
  std::filesystem::permissions(leaf_, std::filesystem::perms(0600));
  start({"--face=policy:always"});
  EXPECT_THAT(DialogAsker(request(), options_).answer(),
              AllOf(StartsWith("err::"), HasSubstr("Permission denied")));
}

// The service could follow the links of every process, past folders that are closed to the user.
TEST_F(DialogdUserTest, FileThatOnlyAnotherProcessLeadsToIsAnError) {
  const std::filesystem::path closed = files_.path("closed");
  const std::filesystem::path below = closed / "below";
  std::filesystem::create_directories(below);
  std::filesystem::copy_file(leaf_, below / "leaf.der");
  std::filesystem::permissions(closed, std::filesystem::perms(0700));
  start({"--face=policy:always"});
  std::filesystem::current_path(below);
  const std::string path = "/proc/" + std::to_string(getpid()) + "/cwd/leaf.der";
  EXPECT_THAT(DialogAsker(request("a.test", path), options_).answer(), StartsWith("err::"));
  std::filesystem::current_path("/");
}

TEST_F(DialogdUserTest, FileThatHeCanReadIsShown) {
  start({"--face=policy:once"});
  EXPECT_THAT(DialogAsker(request(), options_).answer(), HasSubstr(kOnce));
}

TEST_F(DialogdUserTest, FaceRunsAsTheAskingUser) {
  startWithFace("id -u > $dir/user; id -g >> $dir/user; id -G >> $dir/user; echo once\n");
  EXPECT_THAT(DialogAsker(request(), options_).answer(), HasSubstr(kOnce));
  EXPECT_EQ("64123\n64123\n64123\n", contentOf("user"));
}

// As in a shell that newgrp has started.
TEST_F(DialogdUserTest, EnvironmentOfAnAskerInAnotherGroupIsRead) {
  constexpr uid_t kNobody = 65534;  // the user database has another group for him
  const PseudoTerminal nobodys(kNobody);
  options_.user = kNobody;
  options_.group = kStranger;
  options_.terminal = nobodys.path();
  setenv("TERM", "of-the-service", 1);
  startWithFace("env > $dir/environment\n");
  DialogAsker(request(), options_).answer();
  EXPECT_THAT(contentOf("environment"), AllOf(HasSubstr("PATH="), Not(HasSubstr("TERM=of-the"))));
}

// Whoever the face runs as can take over what it has open.
TEST_F(DialogdUserTest, FaceOfAnotherUserHasNothingOfTheServicesOpen) {
  startWithFace(
      "test /proc/$$/fd/2 -ef /proc/$PPID/fd/2 && echo shared > $dir/errors\n"
      "readlink /proc/self/fd/2 > $dir/kind; pwd -P > $dir/place; echo once\n");
  EXPECT_THAT(DialogAsker(request(), options_).answer(), HasSubstr(kOnce));
  EXPECT_EQ("", contentOf("errors"));
  EXPECT_THAT(contentOf("kind"), StartsWith("pipe:"));
  EXPECT_EQ("/\n", contentOf("place"));
}

TEST_F(DialogdUserTest, WhatTheFaceOfAnotherUserComplainsOfIsToldInOneLine) {
  startWithFace("printf 'it is\\033[2J broken\\nmore' >&2; exit 1\n");
  EXPECT_THAT(DialogAsker(request(), options_).answer(), HasSubstr(kDeclined));
  EXPECT_THAT(service_->errors(), HasSubstr("user 64123: it is\\x1b[2J broken\n"));
}

TEST_F(DialogdUserTest, ComplaintsWithoutEndDoNotHoldTheAnswerUp) {
  startWithFace("yes 2>/dev/null | head -c 1000000 >&2; echo once\n");
  EXPECT_THAT(DialogAsker(request(), options_).answer(), HasSubstr(kOnce));
}

TEST_F(DialogdUserTest, FaceOfAnotherUserEndsWhenTheClientGivesUp) {
  startWithFace("trap 'echo ended > $up; exit' TERM\necho shown > $up\ncat $go & wait\n");
  DialogAsker asker(request(), options_);
  EXPECT_EQ("shown", up_.readLine());
  asker.giveUp();
  EXPECT_EQ("ended", up_.readLine());
}

TEST_F(DialogdUserTest, TerminalOfSomebodyElseIsNotDrawnOn) {
  const PseudoTerminal roots(geteuid());
  std::filesystem::permissions(roots.path(), std::filesystem::perms(0666));
  options_.terminal = roots.path();
  startWithFace("echo once\n");
  EXPECT_THAT(DialogAsker(request(), options_).answer(), HasSubstr(kDeclined));
}

TEST_F(DialogdUserTest, TerminalOfTheServiceIsNotForOthers) {
  const PseudoTerminal roots(geteuid());
  options_.terminal = "";
  startWithFace("echo once\n", {}, roots.path());
  EXPECT_THAT(DialogAsker(request(), options_).answer(), HasSubstr(kDeclined));
}

TEST_F(DialogdUserTest, DifferentUsersDoNotWaitForEachOther) {
  startWithFace("echo shown > $up\nread word < $dir/$(id -u)\necho $word\n");
  Fifo toStranger(files_.path(std::to_string(kStranger)));
  Fifo toRoot(files_.path("0"));
  const PseudoTerminal roots(geteuid());
  DialogAsker::Options root;
  root.terminal = roots.path();
  DialogAsker first(request(), options_);
  DialogAsker second(request(), root);
  EXPECT_EQ("shown", up_.readLine());
  EXPECT_EQ("shown", up_.readLine());
  toStranger.writeLine("once");
  toRoot.writeLine("always");
  EXPECT_THAT(first.answer(), HasSubstr(kOnce));
  EXPECT_THAT(second.answer(), HasSubstr(kAlways));
}

}  // namespace
