// Random and damaged chains, judged by us and by GnuTLS: they agree, or it is known why not.
//   certmgr_differential_test [--seed=N] [--first=N] [--count=N]
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/services/certmgr/ConformanceDocument.h"
#include "tests/services/certmgr/differential/DifferentialRun.h"
#include "tests/services/certmgr/differential/DisagreementClasses.h"
#include "tests/support/SlowBuild.h"

namespace {

// Mostly enough for every class to be seen; fewer where each chain takes ten times as long.
constexpr std::uint64_t kDefaultCount = timesHere(2000);
constexpr bool kSeesAll = timesHere(2000) == 2000;

DifferentialOptions options{3, 0, kDefaultCount};

// The classes that no chain of the report is in, but should be, whatever GnuTLS is installed.
std::set<std::string> classesNotSeen(const DifferentialReport& report) {
  std::set<std::string> names;
  for (const DisagreementClass& one : readDisagreementClasses()) {
    if (one.whoAccepts != "older GnuTLS") names.insert(one.name);
  }
  for (const auto& [name, count] : report.disagreements) names.erase(name);
  return names;
}

TEST(Differential, EveryDisagreementIsOfAKnownClass) {
  DifferentialReport report;
  runDifferential(options, report);
  // Keys differ from run to run, and with them which of the rare classes turn up.
  const bool seesAll = kSeesAll && options.count >= kDefaultCount;
  DifferentialOptions more = options;
  for (int rounds = 0; seesAll && rounds < 5 && !classesNotSeen(report).empty(); ++rounds) {
    more.first += more.count;
    runDifferential(more, report);
  }
  if (!kSeesAll) printf("smaller here: %d random chains of 2000\n", timesHere(2000));
  const unsigned long long judged = more.first + more.count;
  printf("of %llu chains ", judged);
  printf("both accept %llu, both refuse %llu\n", static_cast<unsigned long long>(report.bothAccept),
         static_cast<unsigned long long>(report.bothRefuse));
  for (const auto& [name, count] : report.disagreements) {
    printf("%s: %llu\n", name.c_str(), static_cast<unsigned long long>(count));
  }
  EXPECT_GT(report.bothAccept, 0U);
  EXPECT_GT(report.bothRefuse, 0U);
  constexpr std::size_t kShown = 20;
  for (std::size_t i = 0; i < report.unexplained.size() && i < kShown; ++i) {
    ADD_FAILURE() << report.unexplained[i];
  }
  EXPECT_EQ(0U, report.unexplained.size());
  if (seesAll) {
    EXPECT_EQ(std::set<std::string>(), classesNotSeen(report)) << "these explain nothing any more";
  }
}

TEST(Differential, OurVerdictDependsNeitherOnTheOrderNorOnWhatIsRemembered) {
  DifferentialOptions some = options;
  some.count = std::min(options.count, kDefaultCount / 8);
  EXPECT_EQ(std::vector<std::uint64_t>(), chainsJudgedByTheirOrder(some));
}

TEST(DifferentialDocument, ShowsEveryClass) {
  std::ostringstream table;
  table << "| class | accepts | refuses for | why |\n|---|---|---|---|\n";
  for (const DisagreementClass& one : readDisagreementClasses()) {
    table << "| " << one.name << " | " << one.whoAccepts << " |";
    for (const std::string& finding : one.findings) table << " `" << finding << "`";
    table << " | " << one.explanation << " |\n";
  }
  EXPECT_EQ(table.str(), conformanceDocumentPart("differential"));
}

// Takes one "--NAME=NUMBER"; false for anything else.
bool takeOption(const std::string& argument) {
  const auto equals = argument.find('=');
  if (equals == std::string::npos) return false;
  const std::string name = argument.substr(0, equals);
  std::uint64_t* const target = name == "--seed"    ? &options.seed
                                : name == "--first" ? &options.first
                                : name == "--count" ? &options.count
                                                    : nullptr;
  if (target == nullptr) return false;
  *target = strtoull(argument.c_str() + equals + 1, nullptr, 10);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  for (int i = 1; i < argc; ++i) {
    if (takeOption(argv[i])) continue;
    fprintf(stderr, "certmgr_differential_test: what is %s?\n", argv[i]);
    return 2;
  }
  return RUN_ALL_TESTS();
}
