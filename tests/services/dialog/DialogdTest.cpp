// The real program: its options, its life, and what it refuses.
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/services/dialog/DialogdFixture.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct Policy {
  const char* face;
  const char* answer;
};

class DialogdPolicy : public DialogdTest, public testing::WithParamInterface<Policy> {};

TEST_P(DialogdPolicy, AnswersEverybodyAlike) {
  start({std::string("--face=") + GetParam().face});
  EXPECT_EQ(std::string("res::show\nid::321\ndat:json:{\"resp_obj\":") + GetParam().answer + "}\n",
            ask(request()));
}

INSTANTIATE_TEST_SUITE_P(Each, DialogdPolicy,
                         testing::Values(Policy{"policy:decline", kDeclined},
                                         Policy{"policy:once", kOnce},
                                         Policy{"policy:always", kAlways}));

TEST_F(DialogdTest, RequestWithAForgedMemberIsAnError) {
  start({"--face=policy:always"});
  EXPECT_THAT(ask(request(R"(good.test","groupId":")")),
              AllOf(StartsWith("err::"), Not(HasSubstr("accepted"))));
}

TEST_F(DialogdTest, PipeInPlaceOfACertificateIsAnErrorAndNotWaitedFor) {
  start({"--face=policy:always"});
  EXPECT_THAT(ask(request("a.test", up_.path())), HasSubstr("it is not a plain file"));
}

TEST_F(DialogdTest, FileThatIsNoCertificateIsAnError) {
  start({"--face=policy:always"});
  EXPECT_THAT(ask(request("a.test", files_.write("text", "text"))),
              HasSubstr("it holds no DER certificate"));
}

TEST_F(DialogdTest, FileWithMoreThanACertificateIsAnError) {
  start({"--face=policy:always"});
  EXPECT_THAT(ask(request("a.test", files_.write("two.der", contentOf("leaf.der") + "more"))),
              HasSubstr("there are bytes after its certificate"));
}

TEST_F(DialogdTest, FileThatIsTooLongIsAnError) {
  start({"--face=policy:always"});
  EXPECT_THAT(ask(request("a.test", files_.write("long", std::string(64 * 1024 + 1, '0')))),
              HasSubstr("it is longer than 65536 bytes"));
}

TEST_F(DialogdTest, MissingFileIsAnError) {
  start({"--face=policy:always"});
  EXPECT_THAT(ask(request("a.test", files_.path("missing"))), StartsWith("err::cannot use"));
}

TEST_F(DialogdTest, RequestThatIsTooLongIsAnError) {
  start({"--face=policy:always"});
  EXPECT_THAT(ask(request(std::string(64 * 1024, 'a'))), StartsWith("err::"));
}

TEST_F(DialogdTest, ErrorLeavesTheServiceAtWork) {
  start({"--face=policy:once"});
  ask("rubbish");
  EXPECT_THAT(ask(request()), HasSubstr(kOnce));
}

TEST_F(DialogdTest, TerminationLeavesNothingBehind) {
  std::filesystem::create_directory(files_.path("run"));
  start({"--face=policy:once"});
  ask(request());
  EXPECT_EQ(0, service_->end(SIGTERM));
  EXPECT_TRUE(std::filesystem::is_empty(files_.path("run")));
}

TEST_F(DialogdTest, ItSaysNothingUnlessAsked) {
  start({"--face=policy:once"});
  ask(request());
  service_->end(SIGTERM);
  EXPECT_EQ("", service_->errors());
}

TEST_F(DialogdTest, VerboseServiceTellsWhoIsAnswered) {
  start({"--face=policy:once", "--verbose"});
  DialogAsker asker(request(), {});
  asker.answer();
  const std::string who = "(process " + std::to_string(asker.process()) + ", user ";
  service_->end(SIGTERM);
  EXPECT_THAT(service_->errors(), AllOf(HasSubstr(who), HasSubstr(" is answered: once\n")));
}

TEST_F(DialogdTest, SecondServiceIsRefusedOnOneLine) {
  start({"--face=policy:once"});
  ServiceProcess second(DIALOGD, {"--face=policy:once"});
  EXPECT_EQ(1, second.wait());
  EXPECT_EQ("trust-dialogd: another service is already listening on " +
                files_.path("run/services/dialog/control") + "\n",
            second.errors());
}

TEST_F(DialogdTest, RuntimeDirectoryCanBeNamed) {
  start({"--face=policy:once", "--runtime-dir=" + files_.path("other")});
  EXPECT_TRUE(std::filesystem::is_socket(files_.path("other/services/dialog/control")));
}

TEST_F(DialogdTest, UnknownFaceIsWrongUse) {
  ServiceProcess service(DIALOGD, {"--face=policy:perhaps"});
  EXPECT_EQ(2, service.wait());
  EXPECT_THAT(service.errors(), StartsWith("trust-dialogd: --face: "));
}

TEST_F(DialogdTest, NegativeTimeoutIsWrongUse) {
  ServiceProcess service(DIALOGD, {"--timeout=-1"});
  EXPECT_EQ(2, service.wait());
}

TEST_F(DialogdTest, FaceProgramThatIsNoneIsRefusedAtTheStart) {
  ServiceProcess service(DIALOGD, {"--face-program=" + leaf_});
  EXPECT_EQ(1, service.wait());
  EXPECT_EQ("trust-dialogd: " + leaf_ + " is not a program\n", service.errors());
}

TEST_F(DialogdTest, ServiceThatFollowsItsParentEndsWithIt) {
  EXPECT_TRUE(endsWithItsParent([] {
    return std::make_unique<ServiceProcess>(
        DIALOGD, std::vector<std::string>{"--face=policy:once", "--follow-parent"});
  }));
}

}  // namespace
