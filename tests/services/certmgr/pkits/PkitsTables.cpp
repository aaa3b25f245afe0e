#include "tests/services/certmgr/pkits/PkitsTables.h"

#include <algorithm>
#include <fstream>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace {

std::string trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, separator);) {
    if (part = trimmed(part); !part.empty()) parts.push_back(part);
  }
  return parts;
}

std::vector<std::string> readLines(const char* file) {
  const std::string path = std::string(PKITS_TABLES) + "/" + file;
  std::ifstream in(path);
  if (!in) throw std::runtime_error("cannot read " + path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

// The rows of a table, each with that many columns; other lines start with '#'.
std::vector<std::vector<std::string>> readRows(const char* file, std::size_t columns) {
  std::vector<std::vector<std::string>> rows;
  for (const std::string& line : readLines(file)) {
    if (line.front() == '#') continue;
    rows.push_back(split(line, '|'));
    if (rows.back().size() != columns) throw std::runtime_error("no row: " + line);
  }
  return rows;
}

// The suite's policy of that number, 2.16.840.1.101.3.2.1.48.N, as an identifier's content.
std::string policy(const std::string& number) {
  return std::string("\x60\x86\x48\x01\x65\x03\x02\x01\x30") + static_cast<char>(std::stoi(number));
}

PolicySettings readSettings(const std::string& text) {
  PolicySettings settings;
  for (const std::string& word : split(text, ' ')) {
    constexpr std::string_view kPolicies = "policies=";
    if (word == "-") continue;
    if (word == "explicit") {
      settings.requireExplicit = true;
    } else if (word == "inhibit-mapping") {
      settings.inhibitMapping = true;
    } else if (word == "inhibit-any") {
      settings.inhibitAny = true;
    } else if (word.compare(0, kPolicies.size(), kPolicies) == 0) {
      for (const std::string& number : split(word.substr(kPolicies.size()), ',')) {
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
  for (const auto& row : readRows("pkits_cases.txt", 6)) {
    PkitsCase& one = cases.emplace_back();
    one.number = row[0];
    one.title = row[1];
    const std::vector<std::string> expected = split(row[2], ' ');
    one.isValid = expected.front() == "valid";
    if (expected.size() > 1) one.finding = expected[1];
    one.policies = readSettings(row[3]);
    one.certificates = split(row[4], ' ');
    one.lists = split(row[5], ' ');
  }
  return cases;
}

std::vector<PkitsDivergence> readPkitsDivergences() {
  std::vector<PkitsDivergence> divergences;
  for (const auto& row : readRows("divergences.txt", 3)) {
    divergences.push_back({row[0], row[1], row[2]});
  }
  return divergences;
}

std::vector<std::pair<std::string, std::string>> readPkitsSections() {
  std::vector<std::pair<std::string, std::string>> sections;
  for (const std::string& line : readLines("pkits_cases.txt")) {
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
