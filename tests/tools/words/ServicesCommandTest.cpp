#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/ServiceProcess.h"
#include "tests/support/SlowBuild.h"
#include "tests/tools/SilentService.h"
#include "tests/tools/TrustctlFixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ServicesStatus : public TrustctlTest {
 protected:
  ServicesStatus() : runtime_(directory_.path("run")) {
    environment_["PPS_RUNTIME_DIR"] = runtime_;
  }

  // The lines of the JSON report: certmgr, dialog.
  std::vector<rapidjson::Document> report(int status) {
    const ProgramRun result = run({"services", "status", "--json"});
    EXPECT_EQ(status, result.status) << result.err;
    const std::size_t end = result.out.find('\n') + 1;
    std::vector<rapidjson::Document> lines;
    lines.push_back(parseLine(result.out.substr(0, end)));
    lines.push_back(parseLine(result.out.substr(end)));
    return lines;
  }

  std::string runtime_;
};

std::vector<std::string> memberNames(const rapidjson::Value& object) {
  std::vector<std::string> names;
  for (const auto& member : object.GetObject()) {
    names.emplace_back(member.name.GetString());
  }
  return names;
}

TEST_F(ServicesStatus, TakesNoServiceForNoFault) {
  const ProgramRun result = run({"services", "status"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("certmgr (judges chains): not running\n"));
  EXPECT_THAT(result.out, HasSubstr("dialog (asks the user): not running\n"));
  EXPECT_THAT(result.out, HasSubstr("starts a private one for each run"));
}

TEST_F(ServicesStatus, NamesTheProgramOfAPrivateService) {
  environment_["TRUST_CERTMGRD"] = CERTMGRD_PROGRAM;
  EXPECT_STREQ(CERTMGRD_PROGRAM, report(0)[0]["private_program"].GetString());
}

TEST_F(ServicesStatus, SaysWhyThereIsNoProgramOfAPrivateService) {
  environment_["TRUST_CERTMGRD"] = "/nonexistent/trust-certmgrd";
  const ProgramRun result = run({"services", "status"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("A private one cannot be started: TRUST_CERTMGRD names"));
}

TEST_F(ServicesStatus, HasTheseJsonMembersForAServiceThatAnswers) {
  const ServiceProcess service({"--runtime-dir", runtime_});
  ASSERT_TRUE(service.isReady());
  const auto lines = report(0);
  EXPECT_THAT(memberNames(lines[0]),
              ElementsAre("service", "state", "object", "place", "process", "program", "user",
                          "since", "answer_microseconds", "elsewhere", "private_program"));
  EXPECT_STREQ("certmgr", lines[0]["service"].GetString());
  EXPECT_STREQ("answering", lines[0]["state"].GetString());
  EXPECT_EQ(runtime_ + "/services/certmgr/control", lines[0]["object"].GetString());
  EXPECT_STREQ("PPS_RUNTIME_DIR", lines[0]["place"].GetString());
  EXPECT_EQ(service.pid(), lines[0]["process"].GetInt());
  if (!kEmulated) {  // then it is the emulator
    EXPECT_EQ(std::filesystem::canonical(CERTMGRD_PROGRAM).string(),
              lines[0]["program"].GetString());
  }
}

TEST_F(ServicesStatus, HasTheseJsonMembersForAServiceThatDoesNotRun) {
  EXPECT_THAT(memberNames(report(0)[1]),
              ElementsAre("service", "state", "object", "place", "elsewhere", "private_program"));
}

TEST_F(ServicesStatus, TellsAServiceToPeople) {
  const ServiceProcess service({"--runtime-dir", runtime_});
  ASSERT_TRUE(service.isReady());
  const ProgramRun result = run({"services", "status"});
  EXPECT_THAT(result.out, HasSubstr("certmgr (judges chains): running\n"));
  EXPECT_THAT(result.out, HasSubstr("process     " + std::to_string(service.pid()) + "\n"));
  EXPECT_THAT(result.out, HasSubstr("looked for  as PPS_RUNTIME_DIR says\n"));
  EXPECT_THAT(result.out, HasSubstr(" ago\n"));
  EXPECT_THAT(result.out, HasSubstr(" ms\n"));
}

TEST_F(ServicesStatus, AsksADialogServiceWithoutADialog) {
  // A face that is ever started leaves a file.
  const std::string mark = directory_.path("shown");
  const ServiceProcess service(DIALOGD_PROGRAM, {"--runtime-dir", runtime_, "--face-program",
                                                 script("touch " + mark + "\n")});
  ASSERT_TRUE(service.isReady());
  EXPECT_STREQ("answering", report(0)[1]["state"].GetString());
  EXPECT_FALSE(std::filesystem::exists(mark));
}

TEST_F(ServicesStatus, ExitsWith1ForAServiceThatDoesNotAnswer) {
  const SilentService service(runtime_);
  const ProgramRun result = run({"services", "status", "--timeout", "1"});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("certmgr (judges chains): running, but does not answer\n"));
  EXPECT_THAT(result.out, HasSubstr("it did not answer within 1 second."));
}

// A place for the control object of a service, and what stands there.
std::string objectIn(const std::string& runtime) {
  std::filesystem::create_directories(runtime + "/services/certmgr");
  return runtime + "/services/certmgr/control";
}

int boundSocket(int type, const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  memcpy(address.sun_path, path.c_str(), std::min(path.size() + 1, sizeof address.sun_path));
  const int fd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
  EXPECT_EQ(0, bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address));
  return fd;
}

TEST_F(ServicesStatus, TellsTheSocketOfAServiceThatDied) {
  close(boundSocket(SOCK_SEQPACKET, objectIn(runtime_)));
  const ProgramRun result = run({"services", "status"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("certmgr (judges chains): not running\n"));
  EXPECT_THAT(result.out, HasSubstr("A service died and left its socket there."));
}

TEST_F(ServicesStatus, ExitsWith1ForASocketOfAnotherType) {
  const int fd = boundSocket(SOCK_STREAM, objectIn(runtime_));
  ASSERT_EQ(0, listen(fd, 1));
  EXPECT_STREQ("refused", report(1)[0]["state"].GetString());
  close(fd);
}

TEST_F(ServicesStatus, TellsThePlaceByXdgRuntimeDir) {
  environment_.erase("PPS_RUNTIME_DIR");
  environment_["XDG_RUNTIME_DIR"] = directory_.path("user");
  const auto lines = report(0);
  EXPECT_STREQ("XDG_RUNTIME_DIR", lines[0]["place"].GetString());
  EXPECT_EQ(directory_.path("user") + "/pps/services/certmgr/control",
            lines[0]["object"].GetString());
}

TEST_F(ServicesStatus, FindsAServiceThatRunsWhereNobodyLooks) {
  const std::string other = directory_.path("user");
  environment_["XDG_RUNTIME_DIR"] = other;
  const ServiceProcess service({"--runtime-dir", other + "/pps"});
  ASSERT_TRUE(service.isReady());
  const auto lines = report(0);
  EXPECT_STREQ("absent", lines[0]["state"].GetString());
  ASSERT_EQ(1U, lines[0]["elsewhere"].Size());
  EXPECT_EQ(other + "/pps/services/certmgr/control", lines[0]["elsewhere"][0].GetString());
}

}  // namespace
