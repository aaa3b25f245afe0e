#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/connect/ConnectFixture.h"

namespace {

using testing::HasSubstr;

// Command lines that cannot be used; nothing is connected to.
struct WrongUse {
  std::vector<std::string> words;
  const char* complaint;
};

class ConnectRefuses : public ConnectTest, public testing::WithParamInterface<WrongUse> {};

TEST_P(ConnectRefuses, This) {
  std::vector<std::string> words = {"connect"};
  words.insert(words.end(), GetParam().words.begin(), GetParam().words.end());
  const ProgramRun result = run(words);
  EXPECT_EQ(2, result.status);
  EXPECT_EQ("", result.out);
  EXPECT_TRUE(isComplaint(result.err, GetParam().complaint));
}

INSTANTIATE_TEST_SUITE_P(
    Words, ConnectRefuses,
    testing::Values(
        WrongUse{{}, "HOST is required"}, WrongUse{{""}, "there is no host in ''"},
        WrongUse{{"localhost:0"}, "is no port"},
        WrongUse{{"https://localhost/x"}, "try: trustctl connect localhost"},
        WrongUse{{"localhost."}, "ends in a dot"},
        WrongUse{{"--starttls", "nntp", "localhost"}, "nntp not in {smtp,imap,pop3,ftp,ldap,xmpp"},
        WrongUse{{"--alpn", "", "localhost"}, "cannot be a protocol for --alpn"},
        WrongUse{{"--alpn", std::string(256, 'a'), "localhost"}, "cannot be a protocol for --alpn"},
        WrongUse{{"--timeout", "0", "localhost"}, "--timeout"},
        WrongUse{{"--connect-timeout", "x", "localhost"}, "--connect-timeout"},
        WrongUse{{"--save", "", "localhost"}, "--save"},
        WrongUse{{"--domain", "", "localhost"}, "the domain is empty"},
        WrongUse{{"localhost", "other"}, "not expected"}));

TEST_F(ConnectTest, AWrongHostIsToldInJsonToo) {
  const ProgramRun result = run({"connect", "--json", "https://a.test/"});
  EXPECT_EQ(2, result.status);
  EXPECT_THAT(parseLine(result.out)["error"].GetString(),
              HasSubstr("try: trustctl connect a.test"));
}

TEST_F(ConnectTest, HelpNamesEveryProtocolOfStartTls) {
  const ProgramRun result = run({"connect", "--help"});
  EXPECT_EQ(0, result.status);
  for (const char* protocol : {"smtp", "imap", "pop3", "ftp", "ldap", "xmpp", "postgres"}) {
    EXPECT_THAT(result.out, HasSubstr(protocol));
  }
  EXPECT_THAT(result.out, HasSubstr("Examples:\n  trustctl connect example.org\n"));
}

}  // namespace
