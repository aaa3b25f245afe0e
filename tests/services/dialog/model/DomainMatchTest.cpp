#include "services/dialog/model/DomainMatch.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;  // NOLINT: names with NUL in them
using Kind = CertificateName::Kind;

struct MatchCase {
  std::string name;
  std::string domain;
  bool covers;
};

class NameCoversDomain : public testing::TestWithParam<MatchCase> {};

TEST_P(NameCoversDomain, AsTheVerdictSeesIt) {
  EXPECT_EQ(GetParam().covers, nameCoversDomain({Kind::dns, GetParam().name}, GetParam().domain))
      << GetParam().name << " and " << GetParam().domain;
}

INSTANTIATE_TEST_SUITE_P(
    Table, NameCoversDomain,
    testing::Values(
        MatchCase{"host.zone.tld", "HOST.Zone.TLD", true},
        MatchCase{"*.zone.tld", "host.zone.tld", true},
        MatchCase{"host*.zone.tld", "host.zone.tld", true},
        MatchCase{"host*.zone.tld", "host1.zone.tld", true}, MatchCase{"*.tld", "zone.tld", true},
        MatchCase{"*", "localhost", true}, MatchCase{"*.zone.tld", "host.zone.tld.", true},
        MatchCase{"10.1.1.1", "10.1.1.1", true}, MatchCase{"*.zone.tld", "zone.tld", false},
        MatchCase{"*.zone.tld", "a.b.zone.tld", false},
        MatchCase{"host*.zone.tld", "hos.zone.tld", false},
        MatchCase{"*t.zone.tld", "hot.zone.tld", false},
        MatchCase{"h*t.zone.tld", "hot.zone.tld", false},
        MatchCase{"**.zone.tld", "host.zone.tld", false},
        MatchCase{"host.*.tld", "host.zone.tld", false}, MatchCase{"*.10.1.1", "1.10.1.1", false},
        MatchCase{"host.zone.tld", "host.zone.tld.", false}, MatchCase{"", "zone.tld", false},
        MatchCase{"zone.tld", "", false}, MatchCase{"*.zone.tld\0"s, "host.zone.tld", false},
        MatchCase{"\t*.zone.tld", "host.zone.tld", false},
        MatchCase{"zone\\x.tld", "zone\\x.tld", false},
        MatchCase{"z\xc3\xb6ne.tld", "z\xc3\xb6ne.tld", false}));

TEST(CoversDomain, LooksAtCommonNamesWhereThereIsNoDnsName) {
  EXPECT_TRUE(
      coversDomain({{{Kind::email, "x@a.example"}, {Kind::commonName, "a.example"}}}, "a.example"));
}

TEST(CoversDomain, PassesOverCommonNamesBesideADnsName) {
  EXPECT_FALSE(
      coversDomain({{{Kind::dns, "b.example"}, {Kind::commonName, "a.example"}}}, "a.example"));
}

TEST(CoversDomain, PassesOverCommonNamesBesideUnreadableNames) {
  EXPECT_FALSE(coversDomain({{{Kind::commonName, "a.example"}}, 0, true}, "a.example"));
}

TEST(CoversDomain, PassesOverAddresses) {
  EXPECT_FALSE(coversDomain({{{Kind::address, "192.0.2.1"}}}, "192.0.2.1"));
}

}  // namespace
