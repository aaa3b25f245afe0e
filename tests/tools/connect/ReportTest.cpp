#include <algorithm>
#include <filesystem>
#include <iterator>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/connect/ConnectFixture.h"
#include "tests/tools/connect/OcspMaker.h"
#include "tests/tools/connect/OpensslServer.h"
#include "tests/tools/connect/ScriptedServer.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::string> memberNames(const rapidjson::Value& object) {
  std::vector<std::string> names;
  std::transform(object.MemberBegin(), object.MemberEnd(), std::back_inserter(names),
                 [](const auto& member) { return member.name.GetString(); });
  return names;
}

// What connect tells besides the verdict, against a real server.
class ConnectReport : public ConnectTest {
 protected:
  rapidjson::Document jsonOf(const OpensslServer& server) {
    return parseLine(connect(server.target(), {"--json"}).out);
  }

  // A server that staples that answer.
  std::vector<std::string> stapling(const OcspMaker& answer) const {
    const Bytes der = answer.der();
    return {"-status_file",
            directory_.write("ocsp.der", {reinterpret_cast<const char*>(der.data()), der.size()})};
  }
};

TEST_F(ConnectReport, JsonHasTheMembersOfVerifyAndThenTheConnection) {
  const OpensslServer server(directory_, goodChain());
  const rapidjson::Document answer = jsonOf(server);
  ASSERT_THAT(memberNames(answer), ElementsAre("domain", "trusted", "by_exception", "revoked",
                                               "warnings", "serial", "chain", "connection"));
  EXPECT_THAT(memberNames(answer["connection"]),
              ElementsAre("host", "address", "port", "starttls", "protocol", "cipher", "alpn",
                          "certificates", "client_certificate", "ocsp"));
  EXPECT_THAT(memberNames(answer["connection"]["ocsp"]), ElementsAre("status"));
}

TEST_F(ConnectReport, JsonDescribesTheConnection) {
  const OpensslServer server(
      directory_, goodChain(),
      {"-tls1_3", "-ciphersuites", "TLS_AES_128_GCM_SHA256", "-alpn", "h2", "-verify", "1"});
  const rapidjson::Document answer =
      parseLine(connect(server.target(), {"--json", "--alpn", "h2"}).out);
  const rapidjson::Value& connection = answer["connection"];
  EXPECT_STREQ("127.0.0.1", connection["host"].GetString());
  EXPECT_STREQ("127.0.0.1", connection["address"].GetString());
  EXPECT_EQ(std::stoi(server.port()), connection["port"].GetInt());
  EXPECT_STREQ("", connection["starttls"].GetString());
  EXPECT_STREQ("TLSv1.3", connection["protocol"].GetString());
  EXPECT_STREQ("TLS_AES_128_GCM_SHA256", connection["cipher"].GetString());
  EXPECT_STREQ("h2", connection["alpn"].GetString());
  EXPECT_EQ(2, connection["certificates"].GetInt());
  EXPECT_STREQ("requested", connection["client_certificate"].GetString());
  EXPECT_STREQ("none", connection["ocsp"]["status"].GetString());
}

TEST_F(ConnectReport, AStapledGoodAnswerIsShown) {
  const OpensslServer server(directory_, goodChain(), stapling({leaf_, inter_}));
  const ProgramRun result = connect(server.target());
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_THAT(result.out,
              HasSubstr("    OCSP      good; stapled answer of 2020-01-01T00:00:00Z, good until\n"
                        "              2099-12-31T23:59:59Z; signed for the issuer\n"));
}

TEST_F(ConnectReport, AStapledAnswerIsShownOverOldTlsToo) {
  std::vector<std::string> words = stapling({leaf_, inter_});
  words.emplace_back("-tls1_2");
  const OpensslServer server(directory_, goodChain(), words);
  const rapidjson::Document answer = jsonOf(server);
  EXPECT_STREQ("TLSv1.2", answer["connection"]["protocol"].GetString());
  EXPECT_STREQ("good", answer["connection"]["ocsp"]["status"].GetString());
}

TEST_F(ConnectReport, AStapledRevocationIsShownButDoesNotChangeTheVerdict) {
  const OpensslServer server(directory_, goodChain(),
                             stapling(OcspMaker(leaf_, inter_).revoked("20250203040506Z")));
  const ProgramRun result = connect(server.target());
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_THAT(result.out, HasSubstr("    OCSP      revoked on 2025-02-03T04:05:06Z; "));
  EXPECT_THAT(result.out, HasSubstr("shown only"));
}

TEST_F(ConnectReport, JsonTellsAStapledRevocation) {
  const OpensslServer server(directory_, goodChain(),
                             stapling(OcspMaker(leaf_, inter_).revoked("20250203040506Z")));
  const rapidjson::Document answer = jsonOf(server);
  const rapidjson::Value& ocsp = answer["connection"]["ocsp"];
  ASSERT_THAT(memberNames(ocsp),
              ElementsAre("status", "this_update", "next_update", "revoked_at", "signature"));
  EXPECT_STREQ("revoked", ocsp["status"].GetString());
  EXPECT_STREQ("2020-01-01T00:00:00Z", ocsp["this_update"].GetString());
  EXPECT_STREQ("2099-12-31T23:59:59Z", ocsp["next_update"].GetString());
  EXPECT_STREQ("2025-02-03T04:05:06Z", ocsp["revoked_at"].GetString());
  EXPECT_STREQ("valid", ocsp["signature"].GetString());
}

TEST_F(ConnectReport, LinesStayWithinTheColumns) {
  const OpensslServer server(
      directory_, goodChain(),
      stapling(OcspMaker(leaf_, inter_).revoked("20250203040506Z").signedBy(root_)));
  std::istringstream lines(connect(server.target()).out);
  std::size_t longest = 0;
  for (std::string line; std::getline(lines, line);) {
    longest = std::max(longest, line.size());
  }
  EXPECT_GE(80U, longest);
  EXPECT_LT(0U, longest);
}

TEST_F(ConnectReport, TheSavedFileHoldsWhatWasSentInItsOrder) {
  const TestCertificate stranger = CertificateMaker("Stranger").asCa().make();
  const OpensslServer server(directory_, {leaf_, stranger, inter_});
  const std::string file = directory_.path("saved.pem");
  EXPECT_EQ(0, connect(server.target(), {"--save", file}).status);
  EXPECT_EQ(leaf_.pem() + stranger.pem() + inter_.pem(), readFile(file));
}

TEST_F(ConnectReport, TheSavedFileIsJudgedAsTheServerWas) {
  const OpensslServer server(directory_, goodChain());
  const std::string file = directory_.path("saved.pem");
  const ProgramRun connected = connect(server.target(), {"--save", file});
  const ProgramRun verified = run(verifyWithRoot({"--domain", "www.example.test", file}));
  EXPECT_EQ(0, verified.status);
  EXPECT_EQ(verified.out, connected.out.substr(0, connected.out.find("\nConnection:")));
}

TEST_F(ConnectReport, AChainThatIsNotTrustedIsSavedToo) {
  const OpensslServer server(directory_, goodChain());
  const std::string file = directory_.path("saved.pem");
  EXPECT_EQ(1, run({"connect", "--cafile", rootFile_, "--save", file, server.target()}).status);
  EXPECT_EQ(leaf_.pem() + inter_.pem(), readFile(file));
}

// Refused before anything is sent: nobody listens there.
TEST_F(ConnectReport, AFileThatIsThereIsNotReplaced) {
  const DeafPort nobody;
  const std::string file = directory_.write("precious.pem", "precious");
  const ProgramRun result = connect(nobody.target(), {"--save", file});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "is there already and is not replaced"));
  EXPECT_EQ("precious", readFile(file));
}

TEST_F(ConnectReport, AFileThatCannotBeMadeIsRefusedBeforeConnecting) {
  const DeafPort nobody;
  const ProgramRun result =
      connect(nobody.target(), {"--save", directory_.path("missing/chain.pem")});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "no file can be made in '"));
}

TEST_F(ConnectReport, WithoutAChainNothingIsSaved) {
  const DeafPort nobody;
  std::filesystem::create_directory(directory_.path("place"));
  EXPECT_EQ(3, connect(nobody.target(), {"--save", directory_.path("place/chain.pem")}).status);
  EXPECT_THAT(filesBelow(directory_.path("place")), IsEmpty());
}

}  // namespace
