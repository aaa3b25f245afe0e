// Random and damaged chains, judged by us and by GnuTLS: they agree, or it is known why not.
//   certmgr_differential_test [--seed=N] [--first=N] [--count=N]
#include <stdlib.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/services/certmgr/ConformanceDocument.h"
#include "tests/services/certmgr/differential/DifferentialRun.h"
#include "tests/services/certmgr/differential/DisagreementClasses.h"

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::uint64_t kDefaultCount = 1000;
#else
constexpr std::uint64_t kDefaultCount = 4000;
#endif

DifferentialOptions options{1, 0, kDefaultCount};

TEST(Differential, EveryDisagreementIsOfAKnownClass) {
  const DifferentialReport report = runDifferential(options);
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
}

TEST(DifferentialDocument, ShowsEveryClass) {
  std::ostringstream table;
  table << "| class | accepts | refuses for | why |\n|---|---|---|---|\n";
  for (const DisagreementClass& one : readDisagreementClasses()) {
    table << "| " << one.name << " | " << (one.weAccept ? "we" : "GnuTLS") << " |";
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
