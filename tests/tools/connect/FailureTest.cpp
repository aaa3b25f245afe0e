#include <signal.h>

#include <future>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SendSignal.h"
#include "tests/tools/connect/ConnectFixture.h"
#include "tests/tools/connect/ScriptedServer.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;

// What stands in the way of a verdict: status 3 and one line that says what and what to do.
class ConnectFailure : public ConnectTest {
 protected:
  // Connects to a server that reads the beginning of the handshake and answers with this.
  ProgramRun connectToServerThatSays(const std::string& answer,
                                     const std::vector<std::string>& more = {}) {
    const ScriptedServer server([&answer](const ScriptedPeer& peer) {
      peer.receive(5);
      peer.send(answer);
      if (!answer.empty()) {
        peer.awaitEnd();
      }
    });
    return connect(server.target(), more);
  }
};

TEST_F(ConnectFailure, NoSuchHost) {
  const ProgramRun result = run({"connect", "no..such.host"});
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "cannot find the host 'no..such.host': "));
}

TEST_F(ConnectFailure, Refused) {
  const DeafPort nobody;
  const ProgramRun result = connect(nobody.target());
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err,
                          "127.0.0.1: Connection refused; nothing listens there: check the port"));
}

TEST_F(ConnectFailure, RefusedByEveryAddressOfAName) {
  const DeafPort nobody;
  const ProgramRun result = run({"connect", "localhost" + nobody.target().substr(9)});
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "cannot connect to 'localhost' port "));
  EXPECT_THAT(result.err, HasSubstr("127.0.0.1: Connection refused"));
}

TEST_F(ConnectFailure, NoAnswerToTheConnection) {
  const CrowdedPort crowded;
  const ProgramRun result = connect(crowded.target(), {"--timeout", "1"});
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "cannot connect to '127.0.0.1' port "));
  EXPECT_THAT(result.err, HasSubstr(": no answer in time; check the host, the port"));
}

TEST_F(ConnectFailure, NoAnswerInTheHandshake) {
  const ScriptedServer silent([](const ScriptedPeer& peer) { peer.awaitEnd(); });
  const ProgramRun result = connect(silent.target(), {"--timeout", "1"});
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "did not answer within 1 s, during the TLS handshake"));
}

TEST_F(ConnectFailure, NoAnswerBeforeStartTls) {
  const ScriptedServer silent([](const ScriptedPeer& peer) { peer.awaitEnd(); });
  const ProgramRun result =
      connect(silent.target(), {"--connect-timeout", "1", "--starttls", "imap"});
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(
      isComplaint(result.err, "did not answer within 1 s, in the IMAP dialogue before TLS"));
}

TEST_F(ConnectFailure, NoAnswerInTimeNamesTheOptionThatGivesMore) {
  const ScriptedServer silent([](const ScriptedPeer& peer) { peer.awaitEnd(); });
  EXPECT_THAT(connect(silent.target(), {"--connect-timeout", "1"}).err,
              EndsWith("wait longer with --connect-timeout\n"));
}

TEST_F(ConnectFailure, HttpWithoutTls) {
  const ProgramRun result =
      connectToServerThatSays("HTTP/1.1 400 Bad Request\r\nServer: x\r\n\r\n");
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err,
                          "does not speak TLS there; it said 'HTTP/1.1 400 Bad Request\\x0d\\x0a"));
  EXPECT_THAT(result.err, HasSubstr("usually 443"));
}

TEST_F(ConnectFailure, AServerThatSpeaksFirst) {
  const ScriptedServer server([](const ScriptedPeer& peer) {
    peer.send("SSH-2.0-Test\x1b[2J\xff\r\n");
    peer.awaitEnd();
  });
  const ProgramRun result = connect(server.target());
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(
      result.err, "does not speak TLS there; it said 'SSH-2.0-Test\\x1b[2J\\xff\\x0d\\x0a'; "));
}

TEST_F(ConnectFailure, AMailServerWithoutStartTlsOnTheCommandLine) {
  EXPECT_THAT(connectToServerThatSays("* OK ready\r\n").err, EndsWith("try --starttls imap\n"));
  EXPECT_THAT(connectToServerThatSays("+OK ready\r\n").err, EndsWith("try --starttls pop3\n"));
  EXPECT_THAT(connectToServerThatSays("220 ready\r\n").err, HasSubstr("try --starttls smtp"));
}

TEST_F(ConnectFailure, AnAlertByItsName) {
  const ProgramRun result = connectToServerThatSays(std::string("\x15\x03\x03\x00\x02\x02\x46", 7));
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err,
                          "alert protocol_version (70): it speaks no version of TLS that this "
                          "program speaks"));
}

TEST_F(ConnectFailure, AnAlertThatNeedsNoExplanation) {
  EXPECT_TRUE(isComplaint(
      connectToServerThatSays(std::string("\x15\x03\x03\x00\x02\x02\x32", 7)).err, "(50)"));
}

TEST_F(ConnectFailure, ClosedWithoutAWord) {
  const ProgramRun result = connectToServerThatSays("");
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "closed the connection without a word"));
}

TEST_F(ConnectFailure, ClosedInTheMiddleOfARecord) {
  const ScriptedServer server([](const ScriptedPeer& peer) {
    // All of the record: what is closed with unread bytes is reset.
    const std::string header = peer.receive(5);
    peer.receive(static_cast<unsigned char>(header[3]) * 256U +
                 static_cast<unsigned char>(header[4]));
    peer.send(std::string_view("\x16\x03\x03\x01\x00\x02", 6));
  });
  const ProgramRun result = connect(server.target());
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "closed the connection in the middle of the TLS handshake"));
}

TEST_F(ConnectFailure, GarbageInRecordsOfTls) {
  const ProgramRun result = connectToServerThatSays(
      std::string("\x16\x03\x03\x00\x04\x63\x00\x00\x00", 9) + std::string(100, '\xaa'));
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "the TLS handshake with 127.0.0.1 port "));
}

TEST_F(ConnectFailure, MoreCertificatesThanAChainHas) {
  const ScriptedServer server([this](const ScriptedPeer& peer) {
    std::vector<TestCertificate> chain(33, inter_);
    chain.front() = leaf_;
    peer.serveTls(chain);
  });
  const ProgramRun result = connect(server.target());
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "sent 33 certificates; a chain has 1 to 32"));
}

TEST_F(ConnectFailure, MoreBytesOfCertificatesThanAChainHas) {
  const std::string hello = std::string("\x02\x00\x00\x26\x03\x03", 6) + std::string(32, 'r') +
                            std::string("\x00\xc0\x2f\x00", 4);
  const std::string certificatesOf128KiB("\x0b\x02\x00\x00", 4);
  const ProgramRun result = connectToServerThatSays(std::string("\x16\x03\x03\x00\x2e", 5) + hello +
                                                    certificatesOf128KiB);
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "sent certificates of more than 100 KiB in all"));
}

TEST_F(ConnectFailure, InJsonNamesTheDomainAndTheError) {
  const DeafPort nobody;
  const ProgramRun result = connect(nobody.target(), {"--json"});
  EXPECT_EQ(3, result.status);
  const rapidjson::Document answer = parseLine(result.out);
  EXPECT_EQ(2U, answer.MemberCount());
  EXPECT_STREQ("www.example.test", answer["domain"].GetString());
  EXPECT_THAT(answer["error"].GetString(), HasSubstr("Connection refused"));
}

class ConnectInterrupted : public ConnectTest, public testing::WithParamInterface<int> {
 protected:
  // Sends the signal once the server has read as many bytes and waits for the end.
  ProgramRun interruptAfter(std::size_t bytes, const std::string& greeting,
                            const std::vector<std::string>& more) {
    std::promise<void> begun;
    const ScriptedServer server([&](const ScriptedPeer& peer) {
      peer.send(greeting);
      peer.receive(bytes);
      begun.set_value();
      peer.awaitEnd();
    });
    const pid_t child = start(connectWords(server.target(), more));
    begun.get_future().wait();
    sendSignal(child, GetParam());
    return finish(child);
  }
};

TEST_P(ConnectInterrupted, InTheHandshakeDiesOfTheSignal) {
  const ProgramRun result = interruptAfter(5, "", {"--save", directory_.path("chain-sent.pem")});
  EXPECT_EQ(-GetParam(), result.status);
  EXPECT_EQ("", result.out + result.err);
}

TEST_P(ConnectInterrupted, BeforeTlsDiesOfTheSignal) {
  const ProgramRun result = interruptAfter(4, "+OK\r\n", {"--starttls", "pop3"});
  EXPECT_EQ(-GetParam(), result.status);
  EXPECT_EQ("", result.out + result.err);
}

INSTANTIATE_TEST_SUITE_P(Signals, ConnectInterrupted, testing::Values(SIGINT, SIGTERM));

}  // namespace
