#include "services/certmgr/NameReduction.h"

#include <list>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "trustlib/CertificateUtilities.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Names = std::vector<std::string>;

Names withoutOthers(Names names) {
  dropOtherNames(names);
  return names;
}

Names withoutDuplicates(Names names) {
  dropDuplicateNames(names);
  return names;
}

Names withoutCovered(Names names) {
  dropCoveredNames(names);
  return names;
}

TEST(NameReduction, DnsNamesAreCounted) {
  EXPECT_EQ(2U, countDnsNames({"DNS:a.example", "email:a@a.example", "DNS:"}));
}

TEST(NameReduction, NamesOfOtherKindsGo) {
  EXPECT_THAT(
      withoutOthers({"email:a@a.example", "DNS:a.example", "IP Address:::1", "URI:dns:x", "DNS:b"}),
      ElementsAre("DNS:a.example", "DNS:b"));
}

TEST(NameReduction, FirstOfNamesThatDifferInCaseStays) {
  EXPECT_THAT(withoutDuplicates({"DNS:A.example", "DNS:b.example", "DNS:a.EXAMPLE"}),
              ElementsAre("DNS:A.example", "DNS:b.example"));
}

TEST(NameReduction, CaseOfOtherLettersThanAsciiCounts) {
  const Names names = {"DNS:\xc3\x84.example", "DNS:\xc3\xa4.example"};
  EXPECT_EQ(names, withoutDuplicates(names));
}

TEST(NameReduction, NameUnderAWildcardGoesWhereverTheWildcardStands) {
  EXPECT_THAT(withoutCovered({"DNS:a.x.example", "DNS:*.x.example", "DNS:B.X.example"}),
              ElementsAre("DNS:*.x.example"));
}

TEST(NameReduction, NameUnderTheShortestOfSeveralWildcardsGoes) {
  EXPECT_THAT(
      withoutCovered({"DNS:web*.example", "DNS:w*.example", "DNS:wa*.example", "DNS:wz.example",
                      "DNS:x.example"}),
      ElementsAre("DNS:web*.example", "DNS:w*.example", "DNS:wa*.example", "DNS:x.example"));
}

class KeptBesideAWildcard : public testing::TestWithParam<Names> {};

TEST_P(KeptBesideAWildcard, NameStays) {
  EXPECT_EQ(GetParam(), withoutCovered(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Table, KeptBesideAWildcard,
    testing::Values(Names{"DNS:*.x.example", "DNS:x.example"},        // no label for the star
                    Names{"DNS:*.x.example", "DNS:a.b.x.example"},    // two labels for it
                    Names{"DNS:*.x.example", "DNS:.x.example"},       // an empty label
                    Names{"DNS:*.x.example", "DNS:a.y.example"},      // another domain
                    Names{"DNS:w*.x.example", "DNS:v.x.example"},     // another start
                    Names{"DNS:*w.x.example", "DNS:vw.x.example"},    // the star not at the end
                    Names{"DNS:w*w*.x.example", "DNS:ww.x.example"},  // two stars
                    Names{"DNS:a.*.example", "DNS:a.b.example"},      // not in the first label
                    Names{"DNS:*.0.0.1", "DNS:127.0.0.1"},            // an address
                    Names{"DNS:*", "DNS:localhost"},                  // one label
                    Names{"DNS:*.x.example", "DNS:a .x.example"},     // a space
                    Names{"DNS:*..example", "DNS:a..example"},        // an odd wildcard
                    Names{"DNS:*.x.example", "DNS:*.x.example."},     // another wildcard
                    Names{"email:*.x.example", "DNS:a.x.example"},    // not a DNS name
                    Names{"DNS:*.x.example", "email:a.x.example"}));

// Names of up to three labels, and odd ones.
Names manyNames() {
  const Names labels = {"a", "ab", "a*", "*", "*a", "1", "B", ""};
  const Names last = {"a", "1", ""};
  Names names;
  for (const std::string& first : labels) {
    names.push_back(std::string("DNS:").append(first));
    for (const std::string& second : labels) {
      const std::string two = std::string("DNS:").append(first).append(".").append(second);
      names.push_back(two);
      for (const std::string& third : last) {
        names.push_back(std::string(two).append(".").append(third));
      }
    }
  }
  for (const char* odd : {"DNS: *.a", "DNS:a .a", "DNS:*. 1", "DNS:\\x00.a", "DNS:*.\\x00"}) {
    names.emplace_back(odd);
  }
  return names;
}

bool libraryMatches(const std::string& domain, const Names& names) {
  const std::list<std::string> common = {"common.example"};
  const std::list<std::string> alternative(names.begin(), names.end());
  return CertificateUtilities::certificateDomainMatches(&domain, &common, &alternative);
}

// Each name beside each other one, so that no third name hides a mistake.
TEST(NameReduction, WhatTheLibraryMatchesNeverChanges) {
  const Names names = manyNames();
  Names wrong;
  std::size_t dropped = 0;
  for (const std::string& one : names) {
    for (const std::string& other : names) {
      const Names kept = withoutCovered(withoutDuplicates({one, other}));
      if (kept.size() == 2) continue;
      ++dropped;
      // A dropped name without a star matches itself and nothing else.
      for (const std::string& domain : {one.substr(4), other.substr(4), std::string("ac.ab")}) {
        if (libraryMatches(domain, {one, other}) != libraryMatches(domain, kept)) {
          wrong.push_back(std::string(one).append(" and ").append(other));
        }
      }
    }
  }
  EXPECT_THAT(wrong, IsEmpty());
  EXPECT_LT(names.size(), dropped);  // more than each name beside itself
}

}  // namespace
