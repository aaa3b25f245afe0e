#include "tools/trustctl/connect/HostAndPort.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/trustctl/CommandError.h"

namespace {

using testing::HasSubstr;

struct Accepted {
  const char* typed;
  const char* host;
  std::optional<int> port;
  bool isAddress;
};

class HostAndPortAccepts : public testing::TestWithParam<Accepted> {};

TEST_P(HostAndPortAccepts, This) {
  const HostAndPort result = parseHostAndPort(GetParam().typed);
  EXPECT_EQ(GetParam().host, result.host);
  EXPECT_EQ(GetParam().port, result.port);
  EXPECT_EQ(GetParam().isAddress, result.isAddress);
}

INSTANTIATE_TEST_SUITE_P(
    Hosts, HostAndPortAccepts,
    testing::Values(Accepted{"example.org", "example.org", {}, false},
                    Accepted{"example.org:1", "example.org", 1, false},
                    Accepted{"a_b-c.Example:65535", "a_b-c.Example", 65535, false},
                    Accepted{"192.0.2.1", "192.0.2.1", {}, true},
                    Accepted{"192.0.2.1:8443", "192.0.2.1", 8443, true},
                    Accepted{"::1", "::1", {}, true}, Accepted{"[::1]", "::1", {}, true},
                    Accepted{"[2001:db8::1]:443", "2001:db8::1", 443, true},
                    Accepted{"fe80::1%eth0", "fe80::1%eth0", {}, true},
                    Accepted{"[fe80::1%2]:25", "fe80::1%2", 25, true}));

struct Refused {
  const char* typed;
  const char* complaint;
};

class HostAndPortRefuses : public testing::TestWithParam<Refused> {};

TEST_P(HostAndPortRefuses, This) {
  try {
    parseHostAndPort(GetParam().typed);
    FAIL() << "accepted";
  } catch (const CommandError& error) {
    EXPECT_EQ(ExitStatus::wrongUse, error.status());
    EXPECT_THAT(error.what(), HasSubstr(GetParam().complaint));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Hosts, HostAndPortRefuses,
    testing::Values(
        Refused{"", "there is no host in ''"}, Refused{":443", "there is no host in ':443'"},
        Refused{"a:", "'' in 'a:' is no port"}, Refused{"a:0", "give a number from 1 to 65535"},
        Refused{"a:65536", "is no port"}, Refused{"a:http", "'http' in 'a:http' is no port"},
        Refused{"a:+1", "is no port"}, Refused{"a:99999999999999999999", "is no port"},
        Refused{"a b", "'a b' cannot be a host's name"},
        Refused{"a\r\nb", "'a\\x0d\\x0ab' cannot be a host's name"},
        Refused{"b\xc3\xbc.example", "beginning with xn--"},
        Refused{"https://example.org/x", "try: trustctl connect example.org"},
        Refused{"https://u:p@example.org:8443?q", "try: trustctl connect example.org:8443"},
        Refused{"ldap://[::1]:389/", "try: trustctl connect [::1]:389"},
        Refused{"example.org/", "try: trustctl connect example.org"},
        Refused{"https://", "give the host alone"}, Refused{"/etc/passwd", "give the host alone"},
        Refused{"[::1", "no IPv6 address in brackets"},
        Refused{"[::1]443", "no IPv6 address in brackets"},
        Refused{"[example.org]:443", "no IPv6 address in brackets"},
        Refused{"[::1]:", "'' in '[::1]:' is no port"},
        Refused{"fe80::1%a b", "more than one colon"},
        Refused{"1:2:3", "give such an address with its port as [2001:db8::1]:443"}));

TEST(HostName, HasAtMost253Characters) {
  EXPECT_TRUE(isHostName(std::string(253, 'a')));
  EXPECT_FALSE(isHostName(std::string(254, 'a')));
  EXPECT_FALSE(isHostName(""));
}

}  // namespace
