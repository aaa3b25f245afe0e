#include "tests/services/certmgr/pkits/PkitsTables.h"

#include <fstream>
#include <ostream>
#include <stdexcept>
#include <string_view>

#include "tests/services/certmgr/ConformanceTable.h"

namespace {

std::string pathOf(const char* file) {
  return std::string(PKITS_TABLES) + "/" + file;
}

// The suite's policy of that number, 2.16.840.1.101.3.2.1.48.N, as an identifier's content.
std::string policy(const std::string& number) {
  return std::string("\x60\x86\x48\x01\x65\x03\x02\x01\x30") + static_cast<char>(std::stoi(number));
}

PolicySettings readSettings(const std::string& text) {
  PolicySettings settings;
  for (const std::string& word : wordsOf(text)) {
    constexpr std::string_view kPolicies = "policies=";
    if (word == "explicit") {
      settings.requireExplicit = true;
    } else if (word == "inhibit-mapping") {
      settings.inhibitMapping = true;
    } else if (word == "inhibit-any") {
      settings.inhibitAny = true;
    } else if (word.compare(0, kPolicies.size(), kPolicies) == 0) {
      for (const std::string& number : partsOf(word.substr(kPolicies.size()), ',')) {
        settings.acceptable.push_back(policy(number));
      }
    } else {
      throw std::runtime_error("no setting: " + word);
    }
  }
  return settings;
}

}  // namespace

std::string sectionOf(const std::string& number) {
  return number.substr(0, number.find('.', number.find('.') + 1));
}

std::vector<PkitsCase> readPkitsCases() {
  std::vector<PkitsCase> cases;
  for (const auto& row : readTable(pathOf("pkits_cases.txt"), 6)) {
    PkitsCase& one = cases.emplace_back();
    one.number = row[0];
    one.title = row[1];
    const std::vector<std::string> expected = wordsOf(row[2]);
    one.isValid = expected.front() == "valid";
    if (expected.size() > 1) one.finding = expected[1];
    one.policies = readSettings(row[3]);
    one.certificates = wordsOf(row[4]);
    one.lists = wordsOf(row[5]);
  }
  return cases;
}

std::vector<PkitsDivergence> readPkitsDivergences() {
  std::vector<PkitsDivergence> divergences;
  for (const auto& row : readTable(pathOf("divergences.txt"), 3)) {
    divergences.push_back({row[0], row[1], row[2]});
  }
  return divergences;
}

std::vector<std::pair<std::string, std::string>> readPkitsSections() {
  std::vector<std::pair<std::string, std::string>> sections;
  std::ifstream in(pathOf("pkits_cases.txt"));
  for (std::string line; std::getline(in, line);) {
    constexpr std::string_view kHeading = "# 4.";
    if (line.compare(0, kHeading.size(), kHeading) != 0) continue;
    const auto gap = line.find(' ', kHeading.size());
    sections.emplace_back(line.substr(2, gap - 2), line.substr(gap + 1));
  }
  return sections;
}

void PrintTo(const PkitsCase& one, std::ostream* out) {
  *out << one.number << " " << one.title;
}
