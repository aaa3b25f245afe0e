// The real program, over its real socket.
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/objects/ControlObject.h"
#include "platform/objects/ControlSocket.h"
#include "tests/support/CertificateMaker.h"
#include "tests/support/ServiceProcess.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

class CertmgrdTest : public testing::Test {
 protected:
  CertmgrdTest() : root(CertificateMaker("Root").asCa().make()) {
    setenv("PPS_RUNTIME_DIR", files_.path("run").c_str(), 1);
    store_ = files_.path("stores/common/user_trusted");
  }

  // With empty system anchors, unless `arguments` say otherwise.
  void start(std::vector<std::string> arguments = {"--no-system-anchors"}) {
    arguments.push_back("--root=" + files_.path("stores"));
    service_ = std::make_unique<ServiceProcess>(arguments);
    ASSERT_TRUE(service_->isReady()) << service_->errors();
  }

  std::string write(const std::string& name, const TestCertificate& certificate) const {
    return files_.write(name, certificate.derString());
  }

  static std::string ask(const std::string& text) {
    const OwnedFd fd(openControlObject("/pps/services/certmgr/control?wait"));
    EXPECT_TRUE(fd);
    EXPECT_EQ(static_cast<ssize_t>(text.size()), ::write(fd.get(), text.data(), text.size()));
    std::string answer(16384, '\0');
    const ssize_t length = read(fd.get(), answer.data(), answer.size());
    answer.resize(length < 0 ? 0 : static_cast<size_t>(length));
    return answer;
  }

  static std::string request(const std::vector<std::string>& paths,
                             const std::string& application = "common",
                             const std::string& className = "user_trusted") {
    std::string text = "msg::getcertdetails\nid::789\ndat:json:{\"application\":\"" + application +
                       R"(","class":")" + className + R"(","certid":")" + paths.front() + "\",";
    std::string others;
    for (size_t i = 1; i < paths.size(); ++i) {
      others += std::string(i > 1 ? "," : "") + "\"" + paths[i] + "\"";
    }
    if (!others.empty()) text += "\"intermediateCerts\":[" + others + "],";
    return text + R"("fields":["validity","subjectCommonName","subjectAltNames","serial"]})"
                  "\n";
  }

  TestCertificate leafByRoot() const {
    return CertificateMaker("leaf.example")
        .asServer()
        .dns("leaf.example")
        .serial({0xab, 0x01})
        .issuedBy(root)
        .make();
  }

  TemporaryDirectory files_;
  std::string store_;
  TestCertificate root;
  std::unique_ptr<ServiceProcess> service_;
};

TEST_F(CertmgrdTest, SentChainIsAnsweredWithTheVeryPathsSent) {
  addToHashedDirectory(store_, root);
  start();
  const std::string leaf = write("leaf.der", leafByRoot());
  const std::string anchor = write("root.der", root);
  EXPECT_EQ(
      "res::getcertdetails\nid::789\ndat:json:{\"serial\":\"AB 01\","
      "\"subjectCommonName\":[\"leaf.example\"],\"subjectAltNames\":[\"DNS:leaf.example\"],"
      "\"validity\":\"VALID\",\"chain\":[\"" +
          leaf + "\",\"" + anchor + "\"]}\n",
      ask(request({leaf, anchor})));
}

TEST_F(CertmgrdTest, AnchorThatWasNotSentIsNamedByAFileOfTheService) {
  addToHashedDirectory(store_, root);
  start();
  const std::string answer = ask(request({write("leaf.der", leafByRoot())}));
  const std::string directory = files_.path("run/services/certmgr/chain/");
  const size_t at = answer.find(directory);
  ASSERT_NE(std::string::npos, at) << answer;
  const std::string path = answer.substr(at, answer.find('"', at) - at);
  std::ifstream in(path, std::ios::binary);
  EXPECT_EQ(root.derString(), std::string(std::istreambuf_iterator<char>(in), {}));
}

TEST_F(CertmgrdTest, UntrustedChainIsInvalidWithItsWarnings) {
  start();
  EXPECT_THAT(ask(request({write("leaf.der", leafByRoot())})),
              HasSubstr(R"("validity":"INVALID","warnings":["NO_TRUSTED"])"));
}

TEST_F(CertmgrdTest, SameRequestGetsTheSameAnswer) {
  addToHashedDirectory(store_, root);
  start();
  const std::string text = request({write("leaf.der", leafByRoot())});
  EXPECT_EQ(ask(text), ask(text));
}

TEST_F(CertmgrdTest, SystemAnchorsAreJoinedWithEveryStore) {
  addToHashedDirectory(files_.path("system"), root);
  start({"--system-anchors=" + files_.path("system")});
  EXPECT_THAT(ask(request({write("leaf.der", leafByRoot())}, "other", "class")),
              HasSubstr("\"VALID\""));
}

TEST_F(CertmgrdTest, SystemAnchorsCanBeLeftOut) {
  addToHashedDirectory(files_.path("system"), root);
  start({"--system-anchors=" + files_.path("system"), "--no-system-anchors"});
  EXPECT_THAT(ask(request({write("leaf.der", leafByRoot())})), HasSubstr("NO_TRUSTED"));
}

TEST_F(CertmgrdTest, StoreOfAnotherApplicationIsNotUsed) {
  addToHashedDirectory(store_, root);
  start();
  EXPECT_THAT(ask(request({write("leaf.der", leafByRoot())}, "other")), HasSubstr("NO_TRUSTED"));
}

TEST_F(CertmgrdTest, NamesOfStoresAreLookedUpInLowerCase) {
  addToHashedDirectory(store_, root);
  start();
  EXPECT_THAT(ask(request({write("leaf.der", leafByRoot())}, "Common", "User_Trusted")),
              HasSubstr("\"VALID\""));
}

TEST_F(CertmgrdTest, AnchorAddedWhileTheServiceRunsIsSeen) {
  start();
  const std::string text = request({write("leaf.der", leafByRoot())});
  EXPECT_THAT(ask(text), HasSubstr("NO_TRUSTED"));
  addToHashedDirectory(store_, root);
  EXPECT_THAT(ask(text), HasSubstr("\"VALID\""));
}

TEST_F(CertmgrdTest, AnchorRemovedWhileTheServiceRunsIsGone) {
  const std::string file = addToHashedDirectory(store_, root);
  start();
  const std::string text = request({write("leaf.der", leafByRoot())});
  EXPECT_THAT(ask(text), HasSubstr("\"VALID\""));
  std::filesystem::remove(file);
  EXPECT_THAT(ask(text), HasSubstr("NO_TRUSTED"));
}

TEST_F(CertmgrdTest, AnchorOverwrittenInPlaceIsSeen) {
  const std::string file = addToHashedDirectory(store_, root);
  start();
  const std::string text = request({write("leaf.der", leafByRoot())});
  EXPECT_THAT(ask(text), HasSubstr("\"VALID\""));
  std::ofstream(file) << CertificateMaker("Root").asCa().make().pem();
  EXPECT_THAT(ask(text), HasSubstr("INVALID"));
}

TEST_F(CertmgrdTest, BundleGivesAnchors) {
  const std::string bundle =
      files_.write("bundle.pem", CertificateMaker("Other").asCa().make().pem() + root.pem());
  start({"--no-system-anchors", "--cafile=" + bundle});
  EXPECT_THAT(ask(request({write("leaf.der", leafByRoot())})), HasSubstr("\"VALID\""));
}

TEST_F(CertmgrdTest, DirectoryOfAnyNamesGivesAnchors) {
  files_.write("anchors/my root.pem", root.pem());
  start({"--no-system-anchors", "--capath=" + files_.path("anchors")});
  EXPECT_THAT(ask(request({write("leaf.der", leafByRoot())})), HasSubstr("\"VALID\""));
}

TEST_F(CertmgrdTest, RevocationListOnTheCommandLineRevokes) {
  addToHashedDirectory(store_, root);
  const TestCertificate leaf = leafByRoot();
  start({"--no-system-anchors",
         "--crlfile=" + files_.write("list.pem", CrlMaker(root).revoke(leaf).pem())});
  EXPECT_THAT(ask(request({write("leaf.der", leaf)})), HasSubstr(R"(["REVOKED"])"));
}

TEST_F(CertmgrdTest, AnchorsAndRevocationListsOnTheCommandLineGoTogether) {
  const TestCertificate leaf = leafByRoot();
  start({"--no-system-anchors", "--cafile=" + files_.write("root.pem", root.pem()),
         "--crlfile=" + files_.write("list.pem", CrlMaker(root).pem())});
  EXPECT_THAT(ask(request({write("leaf.der", leaf)})), HasSubstr("\"VALID\""));
}

TEST_F(CertmgrdTest, CertificateInARevocationFileIsNoAnchor) {
  start({"--no-system-anchors", "--crlfile=" + files_.write("root.pem", root.pem())});
  EXPECT_THAT(ask(request({write("leaf.der", leafByRoot())})), HasSubstr(R"(["NO_TRUSTED"])"));
}

TEST_F(CertmgrdTest, VerificationTimeReplacesTheClock) {
  addToHashedDirectory(store_, root);
  start({"--no-system-anchors", "--verification-time=2019-12-31T23:59:59+00:00"});
  EXPECT_THAT(ask(request({write("leaf.der", leafByRoot())})), HasSubstr(R"(["CERT_EXPIRY"])"));
}

TEST_F(CertmgrdTest, ManyClientsAtOnceGetTheSameVerdict) {
  addToHashedDirectory(store_, root);
  start({"--no-system-anchors", "--workers=4"});
  const std::string text = request({write("leaf.der", leafByRoot())});
  const std::string expected = ask(text);
  std::atomic<int> equal{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      for (int j = 0; j < 20; ++j) equal += ask(text) == expected ? 1 : 0;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(160, equal);
}

struct Hostile {
  const char* text;
  const char* complaint;
};
class HostileRequest : public CertmgrdTest, public testing::WithParamInterface<Hostile> {};

TEST_P(HostileRequest, IsAnsweredWithAnErrorThatSaysWhy) {
  start();
  EXPECT_THAT(ask(GetParam().text), AllOf(StartsWith("err::"), HasSubstr(GetParam().complaint)));
}

#define DATA(text) "msg::getcertdetails\nid::1\ndat:json:{" text "}\n"
INSTANTIATE_TEST_SUITE_P(
    Table, HostileRequest,
    testing::Values(
        Hostile{"nonsense", "no attribute text"}, Hostile{"msg::show\n", "unknown message"},
        Hostile{"id::1\n", "\"msg\""}, Hostile{"msg::getcertdetails\nid::1\n", "\"dat\""},
        Hostile{"msg::getcertdetails\ndat:json:{\"a\":", "no attribute text"},
        Hostile{DATA(R"("class":"c","certid":"/x")"), "\"application\""},
        Hostile{DATA(R"("application":1,"class":"c","certid":"/x")"), "\"application\""},
        Hostile{DATA(R"("application":"a","certid":"/x")"), "\"class\""},
        Hostile{DATA(R"("application":"a","class":"c")"), "\"certid\""},
        Hostile{DATA(R"("application":"..","class":"c","certid":"/x")"), "\"application\""},
        Hostile{DATA(R"("application":"a/b","class":"c","certid":"/x")"), "\"application\""},
        Hostile{DATA(R"("application":"","class":"c","certid":"/x")"), "\"application\""},
        Hostile{DATA(R"("application":"a","class":"../c","certid":"/x")"), "\"class\""},
        Hostile{DATA(R"("application":"a","class":"c","certid":"")"), "not absolute"},
        Hostile{DATA(R"("application":"a","class":"c","certid":"x.der")"), "not absolute"},
        Hostile{DATA(R"("application":"a","class":"c","certid":"/nonexistent")"), "/nonexistent"},
        Hostile{DATA(R"("application":"a","class":"c","certid":"/dev/zero")"), "not a plain file"},
        Hostile{DATA(R"("application":"a","class":"c","certid":"/tmp")"), "not a plain file"},
        Hostile{DATA(R"("application":"a","class":"c","certid":"/etc/passwd")"),
                "no DER certificate"},
        Hostile{DATA(R"("application":"a","class":"c","certid":"/x","intermediateCerts":"/y")"),
                "\"intermediateCerts\""},
        Hostile{DATA(R"("application":"a","class":"c","certid":"/x","intermediateCerts":[1])"),
                "\"intermediateCerts\""}));

TEST_F(CertmgrdTest, PipeInPlaceOfAFileHoldsNothingUp) {
  start();
  const std::string pipe = files_.path("pipe");
  ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
  EXPECT_THAT(ask(request({pipe})), HasSubstr("not a plain file"));
}

TEST_F(CertmgrdTest, FileOfMoreThan64KiBIsRefused) {
  start();
  EXPECT_THAT(ask(request({files_.write("big.der", std::string(65537, '0'))})),
              HasSubstr("longer than 65536 bytes"));
}

TEST_F(CertmgrdTest, BytesAfterACertificateAreRefused) {
  start();
  EXPECT_THAT(ask(request({files_.write("two.der", root.derString() + "x")})),
              HasSubstr("bytes after its certificate"));
}

TEST_F(CertmgrdTest, ThirtyTwoCertificatesAreTaken) {
  addToHashedDirectory(store_, root);
  start();
  std::vector<std::string> paths(32, write("root.der", root));
  paths.front() = write("leaf.der", leafByRoot());
  EXPECT_THAT(ask(request(paths)), HasSubstr("\"VALID\""));
}

TEST_F(CertmgrdTest, MoreCertificatesAreRefused) {
  start();
  EXPECT_THAT(ask(request(std::vector<std::string>(33, write("root.der", root)))),
              StartsWith("err::the request names more than 32 certificates"));
}

TEST_F(CertmgrdTest, AnswerLongerThanAClientReadsIsAnError) {
  start();
  CertificateMaker maker("x");
  for (int i = 0; i < 900; ++i) maker.dns(std::to_string(1000 + i) + ".long-name.example");
  EXPECT_THAT(ask(request({write("leaf.der", maker.make())})),
              StartsWith("err::the answer is longer than 16383 bytes"));
}

TEST_F(CertmgrdTest, ServiceGoesOnAfterARefusedRequest) {
  addToHashedDirectory(store_, root);
  start();
  ask("nonsense");
  EXPECT_THAT(ask(request({write("leaf.der", leafByRoot())})), HasSubstr("\"VALID\""));
}

TEST_F(CertmgrdTest, TerminationLeavesNothingBehind) {
  addToHashedDirectory(store_, root);
  std::filesystem::create_directory(files_.path("run"));
  start();
  ask(request({write("leaf.der", leafByRoot())}));
  EXPECT_EQ(0, service_->end(SIGTERM));
  EXPECT_TRUE(std::filesystem::is_empty(files_.path("run")));
}

TEST_F(CertmgrdTest, InterruptEndsItCleanlyToo) {
  start();
  EXPECT_EQ(0, service_->end(SIGINT));
}

TEST_F(CertmgrdTest, SecondServiceIsRefusedOnOneLine) {
  start();
  ServiceProcess second({"--no-system-anchors"});
  EXPECT_FALSE(second.isReady());
  EXPECT_EQ(1, second.wait());
  EXPECT_EQ("trust-certmgrd: another service is already listening on " +
                files_.path("run/services/certmgr/control") + "\n",
            second.errors());
}

TEST_F(CertmgrdTest, KilledServiceIsReplacedByTheNext) {
  start();
  EXPECT_EQ(-1, service_->end(SIGKILL));
  start();
  EXPECT_THAT(ask("msg::show\n"), StartsWith("err::"));
}

TEST_F(CertmgrdTest, EphemeralServiceRemovesItsRuntimeDirectory) {
  const std::string runtime = files_.path("private");
  ServiceProcess service({"--ephemeral", "--runtime-dir=" + runtime});
  ASSERT_TRUE(service.isReady()) << service.errors();
  EXPECT_EQ(0, service.end(SIGTERM));
  EXPECT_FALSE(std::filesystem::exists(runtime));
}

TEST_F(CertmgrdTest, EphemeralServiceRefusesADirectoryWithContentAndLeavesIt) {
  const std::string precious = files_.write("home/precious", "content");
  ServiceProcess service({"--ephemeral", "--runtime-dir=" + files_.path("home")});
  EXPECT_EQ(1, service.wait());
  EXPECT_THAT(service.errors(), HasSubstr("is not empty"));
  EXPECT_TRUE(std::filesystem::exists(precious));
}

TEST_F(CertmgrdTest, EphemeralServiceEndsWithItsParent) {
  const std::string runtime = files_.path("private");
  int alive[2];  // its writing end is held by the parent and the service, and nobody else
  ASSERT_EQ(0, pipe(alive));
  const pid_t parent = fork();
  if (parent == 0) {
    close(alive[0]);
    const ServiceProcess service({"--ephemeral", "--runtime-dir=" + runtime});
    (void)!::write(alive[1], service.isReady() ? "y" : "n", 1);
    for (;;) pause();
  }
  close(alive[1]);
  char byte = 0;
  ASSERT_EQ(1, read(alive[0], &byte, 1));
  EXPECT_EQ('y', byte);
  kill(parent, SIGKILL);
  waitpid(parent, nullptr, 0);
  EXPECT_EQ(0, read(alive[0], &byte, 1));  // returns when the service has ended
  close(alive[0]);
  EXPECT_FALSE(std::filesystem::exists(runtime));
}

TEST_F(CertmgrdTest, WrongUseIsOneLineAndStatusTwo) {
  ServiceProcess service({"--no-such-option"});
  EXPECT_EQ(2, service.wait());
  EXPECT_THAT(service.errors(), StartsWith("trust-certmgrd: "));
}

TEST_F(CertmgrdTest, TimeThatIsNoneIsRefused) {
  ServiceProcess service({"--verification-time=yesterday"});
  EXPECT_EQ(1, service.wait());
  EXPECT_THAT(service.errors(), HasSubstr("not a time: \"yesterday\""));
}

}  // namespace
