#include "services/certmgr/path/NameForms.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using Kind = GeneralName::Kind;

class HostThatIsOne : public testing::TestWithParam<const char*> {};
TEST_P(HostThatIsOne, HasAKey) {
  EXPECT_TRUE(hostKey(GetParam()));
}
INSTANTIATE_TEST_SUITE_P(NameForms, HostThatIsOne,
                         testing::Values("a", "a.example", "A.EXAMPLE.", "a-b_c.example", "1.2",
                                         "*.example", "xn--a.example"));

class HostThatIsNone : public testing::TestWithParam<std::string> {};
TEST_P(HostThatIsNone, HasNoKey) {
  EXPECT_FALSE(hostKey(GetParam()));
}
INSTANTIATE_TEST_SUITE_P(NameForms, HostThatIsNone,
                         testing::Values(""s, "."s, ".a"s, "a..b"s, "a.."s, "a b"s, "a\0b"s,
                                         "a.example\0"s, "a\x7f"s, "\xc3\xa4.example"s, "a@b"s,
                                         "a/b"s));

TEST(NameForms, HostIsTurnedAroundInLowerCase) {
  EXPECT_EQ("elpmaxe.a.", hostKey("A.Example."));
}

class MailboxThatIsOne : public testing::TestWithParam<const char*> {};
TEST_P(MailboxThatIsOne, HasAKey) {
  EXPECT_TRUE(mailboxKey(GetParam()));
}
INSTANTIATE_TEST_SUITE_P(NameForms, MailboxThatIsOne,
                         testing::Values("joe@a.example", "j+x=1@a", "J.D@A.EXAMPLE."));

class MailboxThatIsNone : public testing::TestWithParam<std::string> {};
TEST_P(MailboxThatIsNone, HasNoKey) {
  EXPECT_FALSE(mailboxKey(GetParam()));
}
INSTANTIATE_TEST_SUITE_P(NameForms, MailboxThatIsNone,
                         testing::Values(""s, "joe"s, "@a"s, "joe@"s, "joe@a..b"s, "joe@x@a"s,
                                         "\"joe\"@a"s, "j\\oe@a"s, "j\0@a"s, "joe@a\0"s, "j oe@a"s,
                                         "j\xc3\xb6@a"s));

class UriWithAHost : public testing::TestWithParam<const char*> {};
TEST_P(UriWithAHost, HasTheKeyOfTheHost) {
  EXPECT_EQ("elpmaxe.a.@", uriHostKey(GetParam()));
}
INSTANTIATE_TEST_SUITE_P(NameForms, UriWithAHost,
                         testing::Values("http://a.example", "http://a.example/", "x-y://a.example",
                                         "HTTP://A.EXAMPLE", "https://joe:x@a.example:443/p?q#f",
                                         "http://a.example?b@c", "http://a.example#@b",
                                         "http://a.example:", "http://a.example./x"));

class UriWithoutAHost : public testing::TestWithParam<std::string> {};
TEST_P(UriWithoutAHost, HasNoKey) {
  EXPECT_FALSE(uriHostKey(GetParam()));
}
INSTANTIATE_TEST_SUITE_P(
    NameForms, UriWithoutAHost,
    testing::Values(""s, "a.example"s, "urn:a:b"s, "mailto:joe@a.example"s, "http:a.example"s,
                    "http:///p"s, "://a.example"s, "1x://a.example"s, "http://192.0.2.1/"s,
                    "http://[2001:db8::1]/"s, "http://3221225985/"s, "http://0xc0000201/"s,
                    "http://192.0.2.1."s, "http://x@y@a.example/"s, "http://a%2eexample/"s,
                    "http://a.example:8x/"s, "http://a\\b.example/"s, "http://*.example/"s,
                    "http://a.example/\0"s, "http://a.example/ b"s));

TEST(NameForms, AddressIsItsBits) {
  EXPECT_EQ("400000001000000100000001111111111", addressKey("\x01\x02\x03\xff"));
}

TEST(NameForms, AddressOfAnotherLengthHasNoKey) {
  EXPECT_FALSE(addressKey("\x01\x02\x03\x04\x05"));
}

TEST(NameForms, NetworkIsTheBitsUnderItsMask) {
  EXPECT_EQ("40000000100000", networkKey("\x01\x02\x03\x04\xff\xf8\x00\x00"s));
}

TEST(NameForms, NetworkOfAllAddressesIsTheFamilyAlone) {
  EXPECT_EQ("6", networkKey(std::string(32, '\0')));
}

TEST(NameForms, NetworkWhoseMaskHasAGapHasNoKey) {
  EXPECT_FALSE(networkKey("\x01\x02\x03\x04\xff\x00\xff\x00"s));
}

TEST(NameForms, NetworkOfAnotherLengthHasNoKey) {
  EXPECT_FALSE(networkKey("\x01\x02\x03\x04"s));
}

TEST(NameForms, TextOfANameShowsItsControlBytes) {
  EXPECT_EQ("DNS:a\\x00b", nameText(Kind::dns, "a\0b"s));
}

TEST(NameForms, TextOfANetworkHasThePrefixLength) {
  EXPECT_EQ("IP Address:10.0.0.0/8", nameText(Kind::address, "\x0a\0\0\0\xff\0\0\0"s));
}

TEST(NameForms, TextOfAnAddress) {
  EXPECT_EQ("IP Address:2001:db8::1",
            nameText(Kind::address, "\x20\x01\x0d\xb8\0\0\0\0\0\0\0\0\0\0\0\x01"s));
}

TEST(NameForms, TextOfADirectoryNameThatIsNoneIsItsBytes) {
  EXPECT_EQ("DirName:\\x01", nameText(Kind::directory, "\x01"));
}

}  // namespace
