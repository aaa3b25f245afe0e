#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/connect/ConnectFixture.h"
#include "tests/tools/connect/ScriptedServer.h"

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr std::string_view ldapRequest =
    "\x30\x1d\x02\x01\x01\x77\x18\x80\x16"
    "1.3.6.1.4.1.1466.20037";
constexpr std::string_view postgresRequest("\x00\x00\x00\x08\x04\xd2\x16\x2f", 8);
constexpr std::string_view xmppStream =
    "<?xml version='1.0'?><stream:stream xmlns='jabber:client' "
    "xmlns:stream='http://etherx.jabber.org/streams' to='www.example.test' version='1.0'>";
constexpr std::string_view xmppRequest = "<starttls xmlns='urn:ietf:params:xml:ns:xmpp-tls'/>";
constexpr std::string_view xmppOpening =
    "<?xml version='1.0'?><stream:stream xmlns='jabber:client' id='1' version='1.0'>";

class StartTls : public ConnectTest {
 protected:
  // Connects with that protocol to a server that has the dialogue and then speaks TLS.
  ProgramRun connectThrough(const std::string& protocol,
                            const std::function<void(const ScriptedPeer&)>& dialogue) {
    const ScriptedServer server([&](const ScriptedPeer& peer) {
      dialogue(peer);
      peer.serveTls(goodChain());
    });
    return connect(server.target(), {"--starttls", protocol});
  }

  // The same with a server that goes on without TLS.
  ProgramRun connectInVain(const std::string& protocol,
                           const std::function<void(const ScriptedPeer&)>& dialogue) {
    const ScriptedServer server([&](const ScriptedPeer& peer) {
      dialogue(peer);
      peer.awaitEnd();
    });
    ProgramRun result = connect(server.target(), {"--starttls", protocol});
    EXPECT_EQ(3, result.status) << result.out;
    return result;
  }
};

testing::AssertionResult isTrustedBy(const ProgramRun& result, const std::string& protocol) {
  if (result.status == 0 &&
      result.out.find("    STARTTLS  " + protocol + "\n") != std::string::npos) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << result.status << result.out << result.err;
}

TEST_F(StartTls, SmtpLeadsToTls) {
  EXPECT_TRUE(isTrustedBy(connectThrough("smtp",
                                         [](const ScriptedPeer& peer) {
                                           peer.send("220-mail.example.test\r\n220 ready\r\n");
                                           peer.expect("EHLO localhost\r\n");
                                           peer.send("250-mail\r\n250-starttls\r\n250 HELP\r\n");
                                           peer.expect("STARTTLS\r\n");
                                           peer.send("220 go ahead\r\n");
                                         }),
                          "smtp"));
}

TEST_F(StartTls, ImapLeadsToTls) {
  EXPECT_TRUE(isTrustedBy(connectThrough("imap",
                                         [](const ScriptedPeer& peer) {
                                           peer.send("* OK ready\r\n");
                                           peer.expect("a1 STARTTLS\r\n");
                                           peer.send("* NOTE something\r\na1 ok begin\r\n");
                                         }),
                          "imap"));
}

TEST_F(StartTls, Pop3LeadsToTls) {
  EXPECT_TRUE(isTrustedBy(connectThrough("pop3",
                                         [](const ScriptedPeer& peer) {
                                           peer.send("+OK ready\r\n");
                                           peer.expect("STLS\r\n");
                                           peer.send("+OK begin\r\n");
                                         }),
                          "pop3"));
}

TEST_F(StartTls, FtpLeadsToTls) {
  EXPECT_TRUE(isTrustedBy(connectThrough("ftp",
                                         [](const ScriptedPeer& peer) {
                                           peer.send("120 soon\r\n220-hello\r\n any text\r\n");
                                           peer.send("220 ready\r\n");
                                           peer.expect("AUTH TLS\r\n");
                                           peer.send("234 begin\r\n");
                                         }),
                          "ftp"));
}

TEST_F(StartTls, LdapLeadsToTls) {
  EXPECT_TRUE(isTrustedBy(connectThrough("ldap",
                                         [](const ScriptedPeer& peer) {
                                           peer.expect(ldapRequest);
                                           // Lengths in the long form too, as some servers write
                                           // them.
                                           peer.send(std::string_view(
                                               "\x30\x84\x00\x00\x00\x0c\x02\x01\x01\x78\x07"
                                               "\x0a\x01\x00\x04\x00\x04\x00",
                                               18));
                                         }),
                          "ldap"));
}

TEST_F(StartTls, XmppLeadsToTls) {
  EXPECT_TRUE(isTrustedBy(
      connectThrough("xmpp",
                     [](const ScriptedPeer& peer) {
                       peer.expect(xmppStream);
                       peer.send(xmppOpening);
                       peer.send(
                           "<stream:features><starttls xmlns='urn:ietf:params:xml:ns:"
                           "xmpp-tls'><required/></starttls></stream:features>");
                       peer.expect(xmppRequest);
                       peer.send("<proceed xmlns='urn:ietf:params:xml:ns:xmpp-tls'></proceed>");
                     }),
      "xmpp"));
}

TEST_F(StartTls, PostgresLeadsToTls) {
  EXPECT_TRUE(isTrustedBy(connectThrough("postgres",
                                         [](const ScriptedPeer& peer) {
                                           peer.expect(postgresRequest);
                                           peer.send("S");
                                         }),
                          "postgres"));
}

TEST_F(StartTls, SmtpThatOffersNoneIsQuoted) {
  const ProgramRun result = connectInVain("smtp", [](const ScriptedPeer& peer) {
    peer.send("220 ready\r\n");
    peer.expect("EHLO localhost\r\n");
    peer.send("250-mail\r\n250 XSTARTTLS\r\n");
  });
  EXPECT_TRUE(isComplaint(result.err,
                          "offers no STARTTLS on this port; it said '250-mail\\x0a250 XSTARTTLS"));
}

TEST_F(StartTls, SmtpThatRefusesIsQuoted) {
  const ProgramRun result = connectInVain("smtp", [](const ScriptedPeer& peer) {
    peer.send("220 ready\r\n");
    peer.expect("EHLO localhost\r\n");
    peer.send("250 STARTTLS\r\n");
    peer.expect("STARTTLS\r\n");
    peer.send("454 not now\x1b[2J\r\n");
  });
  EXPECT_TRUE(isComplaint(result.err, "refuses STARTTLS; it said '454 not now\\x1b[2J"));
}

TEST_F(StartTls, ImapThatRefusesIsQuoted) {
  const ProgramRun result = connectInVain("imap", [](const ScriptedPeer& peer) {
    peer.send("* OK ready\r\n");
    peer.expect("a1 STARTTLS\r\n");
    peer.send("a1 BAD what\r\n");
  });
  EXPECT_TRUE(isComplaint(result.err, "refuses STARTTLS; it said 'a1 BAD what'"));
}

TEST_F(StartTls, Pop3ThatRefusesIsQuoted) {
  const ProgramRun result = connectInVain("pop3", [](const ScriptedPeer& peer) {
    peer.send("+OK ready\r\n");
    peer.expect("STLS\r\n");
    peer.send("-ERR never\r\n");
  });
  EXPECT_TRUE(isComplaint(result.err, "refuses STARTTLS; it said '-ERR never'"));
}

TEST_F(StartTls, FtpThatRefusesIsQuoted) {
  const ProgramRun result = connectInVain("ftp", [](const ScriptedPeer& peer) {
    peer.send("220 ready\r\n");
    peer.expect("AUTH TLS\r\n");
    peer.send("502 unknown\r\n");
  });
  EXPECT_TRUE(isComplaint(result.err, "refuses STARTTLS; it said '502 unknown"));
}

TEST_F(StartTls, LdapThatRefusesIsQuotedByItsCode) {
  const ProgramRun result = connectInVain("ldap", [](const ScriptedPeer& peer) {
    peer.expect(ldapRequest);
    peer.send(std::string_view("\x30\x0c\x02\x01\x01\x78\x07\x0a\x01\x02\x04\x00\x04\x00", 14));
  });
  EXPECT_TRUE(isComplaint(result.err, "refuses STARTTLS with result code 2"));
}

TEST_F(StartTls, XmppThatOffersNoneIsQuoted) {
  const ProgramRun result = connectInVain("xmpp", [](const ScriptedPeer& peer) {
    peer.expect(xmppStream);
    peer.send(xmppOpening);
    peer.send("<stream:features><bind/></stream:features>");
  });
  EXPECT_TRUE(isComplaint(result.err, "offers no STARTTLS on this port; it said "));
}

TEST_F(StartTls, XmppThatRefusesIsQuoted) {
  const ProgramRun result = connectInVain("xmpp", [](const ScriptedPeer& peer) {
    peer.expect(xmppStream);
    peer.send(xmppOpening);
    peer.send("<stream:features><starttls/></stream:features>");
    peer.expect(xmppRequest);
    peer.send("<failure/>");
  });
  EXPECT_TRUE(isComplaint(result.err, "refuses STARTTLS; it said '<failure/>'"));
}

TEST_F(StartTls, PostgresThatRefusesIsQuoted) {
  const ProgramRun result = connectInVain("postgres", [](const ScriptedPeer& peer) {
    peer.expect(postgresRequest);
    peer.send("N");
  });
  EXPECT_TRUE(isComplaint(result.err, "offers no TLS; it said 'N'"));
}

TEST_F(StartTls, WhatComesInTheClearBeforeTlsIsRefused) {
  const ProgramRun result = connectInVain("pop3", [](const ScriptedPeer& peer) {
    peer.send("+OK ready\r\n");
    peer.expect("STLS\r\n");
    peer.send("+OK begin\r\n+OK injected\r\n");
  });
  EXPECT_TRUE(isComplaint(result.err, "went on in the clear when TLS was to begin"));
  EXPECT_THAT(result.err, HasSubstr("'+OK injected"));
}

TEST_F(StartTls, ALineWithoutAnEndIsRefused) {
  const ProgramRun result = connectInVain(
      "imap", [](const ScriptedPeer& peer) { peer.send("* " + std::string(200000, 'x')); });
  EXPECT_TRUE(isComplaint(result.err, "sent more than 65536 bytes without an end"));
  EXPECT_LT(result.err.size(), 500U);
}

TEST_F(StartTls, AnAnswerOfLinesWithoutAnEndIsRefused) {
  const ProgramRun result = connectInVain("smtp", [](const ScriptedPeer& peer) {
    for (int i = 0; i < 1000; ++i) {
      peer.send("220-more\r\n");
    }
  });
  EXPECT_TRUE(isComplaint(result.err, "answers with more than 200 lines"));
}

TEST_F(StartTls, AnAnswerOfLongLinesIsRefused) {
  const ProgramRun result = connectInVain("smtp", [](const ScriptedPeer& peer) {
    for (int i = 0; i < 10; ++i) {
      peer.send("220-" + std::string(60000, 'x') + "\r\n");
    }
  });
  EXPECT_TRUE(isComplaint(result.err, "sent more than 65536 bytes without an end"));
}

TEST_F(StartTls, NotesWithoutAnEndAreRefused) {
  const ProgramRun result = connectInVain("imap", [](const ScriptedPeer& peer) {
    peer.send("* OK ready\r\n");
    for (int i = 0; i < 1000; ++i) {
      peer.send("* more\r\n");
    }
  });
  EXPECT_TRUE(isComplaint(result.err, "refuses STARTTLS; it said '* more'"));
}

TEST_F(StartTls, AServerOfAnotherProtocolIsQuoted) {
  const ProgramRun result = connectInVain(
      "smtp", [](const ScriptedPeer& peer) { peer.send("HTTP/1.1 400 Bad Request\r\n\r\n"); });
  EXPECT_TRUE(isComplaint(
      result.err,
      "does not speak SMTP; check the port and --starttls; it said 'HTTP/1.1 400 Bad Request'"));
}

TEST_F(StartTls, AnLdapAnswerThatIsNoneIsQuoted) {
  const ProgramRun result = connectInVain("ldap", [](const ScriptedPeer& peer) {
    peer.expect(ldapRequest);
    peer.send(std::string_view("\x30\x05\x02\x01\x07\x78\x7f", 7));
  });
  EXPECT_TRUE(isComplaint(result.err, "does not speak LDAP; "));
}

TEST_F(StartTls, AServerThatSpeaksTlsFromTheStartIsRecognised) {
  const ProgramRun result = connectInVain("pop3", [](const ScriptedPeer& peer) {
    peer.send(std::string_view("\x15\x03\x01\x00\x02\x02\x0a", 7));
  });
  EXPECT_TRUE(isComplaint(result.err, "leave --starttls out"));
}

TEST_F(StartTls, AServerThatClosesBeforeTlsIsQuoted) {
  const ScriptedServer server([](const ScriptedPeer& peer) { peer.send("421 too busy"); });
  const ProgramRun result = connect(server.target(), {"--starttls", "smtp"});
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "closed the connection before TLS began"));
  EXPECT_THAT(result.err, HasSubstr("'421 too busy'"));
}

TEST_F(StartTls, NothingIsJudgedWhereTlsDoesNotBegin) {
  const ProgramRun result = connectInVain("postgres", [](const ScriptedPeer& peer) {
    peer.expect(postgresRequest);
    peer.send("E");
  });
  EXPECT_THAT(result.out, Not(HasSubstr("TRUSTED")));
}

}  // namespace
