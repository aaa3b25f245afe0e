// The real program, over its real socket.
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
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

#include "tests/services/certmgr/CertmgrdFixture.h"
#include "tests/support/SendSignal.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

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
  const std::string list = files_.write("list.pem", root.pem() + CrlMaker(root).pem());
  start({"--no-system-anchors", "--crlfile=" + list});
  EXPECT_THAT(ask(request({write("leaf.der", leafByRoot())})), HasSubstr(R"(["NO_TRUSTED"])"));
}

TEST_F(CertmgrdTest, DamagedBlockInAStoresFileCostsOnlyItself) {
  addToHashedDirectory(store_, root);
  const std::string path = addToHashedDirectory(store_, root);
  std::ofstream(path) << "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n"
                      << root.pem();
  std::filesystem::remove(path.substr(0, path.size() - 1) + "0");
  start();
  EXPECT_THAT(ask(request({write("leaf.der", leafByRoot())})), HasSubstr("\"VALID\""));
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

TEST_F(CertmgrdTest, SameChainGetsTheSameBytesInAnyOrderAndWhateverIsRemembered) {
  const TestCertificate stranger = CertificateMaker("Stranger").asCa().make();
  const TestCertificate inter = CertificateMaker("Inter").asCa().issuedBy(root).make();
  const auto twin = [&](const char* notAfter, const TestCertificate& issuer) {
    CertificateMaker maker("Inter");
    return maker.asCa().key(inter.key()).notAfter(notAfter).issuedBy(issuer).make();
  };
  const TestCertificate leaf =
      CertificateMaker("leaf.example").extendedKeyUsage("clientAuth").issuedBy(inter).make();
  const std::string leafPath = write("leaf.der", leaf);
  std::vector<std::string> others = {
      write("1.der", twin("20991231235959Z", stranger)), write("2.der", stranger),
      write("3.der", twin("20251231235959Z", root)), write("4.der", inter), write("5.der", root)};
  addToHashedDirectory(store_, root);
  start({"--no-system-anchors", "--workers=2"});
  std::string expected;
  do {
    std::vector<std::string> paths = others;
    paths.insert(paths.begin(), leafPath);
    const std::string answer = ask(request(paths));
    if (expected.empty()) expected = answer;
    EXPECT_EQ(expected, answer);
    sendSignal(service_->pid(), SIGHUP);  // forgets all
    EXPECT_EQ(expected, ask(request(paths)));
  } while (std::next_permutation(others.begin(), others.begin() + 4));
  EXPECT_THAT(expected, HasSubstr("\"warnings\":[\"KU_INVALID\"]"));
}

TEST_F(CertmgrdTest, BytesAfterACertificateAreRefused) {
  start();
  EXPECT_THAT(ask(request({files_.write("two.der", root.derString() + "x")})),
              HasSubstr("no DER certificate (there are bytes after its end)"));
}

TEST_F(CertmgrdTest, SixtyFourCertificatesAreTaken) {
  addToHashedDirectory(store_, root);
  start();
  std::vector<std::string> paths(64, write("root.der", root));
  paths.front() = write("leaf.der", leafByRoot());
  EXPECT_THAT(ask(request(paths)), HasSubstr("\"VALID\""));
}

TEST_F(CertmgrdTest, MoreCertificatesAreRefused) {
  start();
  EXPECT_THAT(ask(request(std::vector<std::string>(65, write("root.der", root)))),
              StartsWith("err::the request names more than 64 certificates"));
}

TEST_F(CertmgrdTest, ServiceGoesOnAfterARefusedRequest) {
  addToHashedDirectory(store_, root);
  start();
  ask("nonsense");
  EXPECT_THAT(ask(request({write("leaf.der", leafByRoot())})), HasSubstr("\"VALID\""));
}

TEST_F(CertmgrdTest, InterruptEndsItCleanlyToo) {
  start();
  EXPECT_EQ(0, service_->end(SIGINT));
}

TEST_F(CertmgrdTest, KilledServiceIsReplacedByTheNext) {
  start();
  EXPECT_EQ(-1, service_->end(SIGKILL));
  start();
  EXPECT_THAT(ask("msg::show\n"), StartsWith("err::"));
}

}  // namespace
