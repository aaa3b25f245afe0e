// The numbers in docs/CONFORMANCE.md are those of a run.
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/services/certmgr/ConformanceDocument.h"
#include "tests/services/certmgr/pkits/PkitsRun.h"

namespace {

struct Tally {
  int passed = 0;
  int cases = 0;
};

void writeRow(std::ostream& out, const std::string& section, const std::string& title,
              const Tally& tally) {
  out << "| " << section << " | " << title << " | " << tally.passed << " | " << tally.cases
      << " |\n";
}

std::string sectionTable() {
  const std::vector<PkitsCase> cases = readPkitsCases();
  std::ostringstream out;
  out << "| section | | passed | cases |\n|---|---|---|---|\n";
  Tally total;
  for (const auto& [section, title] : readPkitsSections()) {
    Tally tally;
    for (const PkitsCase& one : cases) {
      if (sectionOf(one.number) != section) continue;
      ++tally.cases;
      if (isExpected(one, judge(one))) ++tally.passed;
    }
    writeRow(out, section, title, tally);
    total.cases += tally.cases;
    total.passed += tally.passed;
  }
  writeRow(out, "all", "", total);
  return out.str();
}

// Cases with the same reason share a row, at the place of the first.
std::string divergenceTable() {
  std::vector<std::pair<std::string, std::string>> rows;
  for (const PkitsDivergence& one : readPkitsDivergences()) {
    const std::string key = one.verdict + " | " + one.reason;
    auto row = rows.begin();
    while (row != rows.end() && row->first != key) ++row;
    if (row == rows.end()) {
      rows.emplace_back(key, one.number);
    } else {
      row->second += ", " + one.number;
    }
  }
  std::ostringstream out;
  out << "| cases | we say | why |\n|---|---|---|\n";
  for (const auto& [key, numbers] : rows) out << "| " << numbers << " | " << key << " |\n";
  return out.str();
}

TEST(PkitsDocument, StatesWhatARunPasses) {
  if (!hasPkitsData()) GTEST_SKIP() << kPkitsPackage;
  EXPECT_EQ(sectionTable(), conformanceDocumentPart("pkits"));
}

TEST(PkitsDocument, StatesEveryDivergence) {
  EXPECT_EQ(divergenceTable(), conformanceDocumentPart("pkits-divergences"));
}

}  // namespace
