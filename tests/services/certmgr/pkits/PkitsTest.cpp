// The public path validation suite, test by number. Where we differ from what it expects,
// divergences.txt says so and why; one that comes, goes or changes fails here.
#include <stdlib.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/services/certmgr/pkits/PkitsRun.h"

namespace {

class Pkits : public testing::TestWithParam<PkitsCase> {};

TEST_P(Pkits, VerdictIsTheExpectedOneOrAKnownDivergence) {
  const PkitsCase& one = GetParam();
  const std::string verdict = judge(one);
  for (const PkitsDivergence& known : readPkitsDivergences()) {
    if (known.number != one.number) continue;
    EXPECT_FALSE(isExpected(one, verdict)) << "no divergence any more: " << verdict;
    EXPECT_EQ(known.verdict, verdict);
    return;
  }
  EXPECT_TRUE(isExpected(one, verdict)) << "we say " << verdict << ", it is to be "
                                        << (one.isValid ? "valid" : "refused " + one.finding);
}

std::string testName(const testing::TestParamInfo<PkitsCase>& info) {
  std::string name = info.param.number;
  std::replace(name.begin(), name.end(), '.', '_');
  return name;
}

std::vector<PkitsCase> casesHere() {
  return hasPkitsData() ? readPkitsCases() : std::vector<PkitsCase>();
}

INSTANTIATE_TEST_SUITE_P(Suite, Pkits, testing::ValuesIn(casesHere()), testName);

TEST(PkitsTables, DivergencesAreOfKnownCases) {
  std::set<std::string> unknown;
  for (const PkitsDivergence& one : readPkitsDivergences()) unknown.insert(one.number);
  for (const PkitsCase& one : readPkitsCases()) unknown.erase(one.number);
  EXPECT_EQ(std::set<std::string>(), unknown);
}

TEST(PkitsTables, HoldTheWholeSuite) {
  std::set<std::string> tests;
  for (const PkitsCase& one : readPkitsCases()) {
    const auto part = one.number.find('.', sectionOf(one.number).size() + 1);
    tests.insert(one.number.substr(0, part));
  }
  EXPECT_EQ(224U, tests.size());
}

// Where CI is set in the environment nothing of it may go untested.
TEST(PkitsData, IsInstalled) {
  if (hasPkitsData()) return;
  if (getenv("CI") != nullptr) FAIL() << kPkitsPackage;
  GTEST_SKIP() << kPkitsPackage;
}

}  // namespace
