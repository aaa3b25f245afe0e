#include "tests/services/certmgr/differential/DisagreementClasses.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

std::string trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::vector<std::string> columnsOf(const std::string& line) {
  std::vector<std::string> columns;
  std::istringstream in(line);
  for (std::string column; std::getline(in, column, '|');) columns.push_back(trimmed(column));
  return columns;
}

std::set<std::string> wordsOf(const std::string& text) {
  std::istringstream in(text);
  std::set<std::string> words;
  for (std::string word; in >> word;) {
    if (word != "-") words.insert(word);
  }
  return words;
}

bool holds(const DisagreementClass& one, const std::string& finding,
           const std::set<std::string>& features) {
  return one.findings.count(finding) != 0 &&
         (one.features.empty() ||
          std::any_of(one.features.begin(), one.features.end(),
                      [&](const std::string& feature) { return features.count(feature) != 0; }));
}

}  // namespace

std::vector<DisagreementClass> readDisagreementClasses() {
  std::ifstream in(DISAGREEMENT_CLASSES);
  if (!in) throw std::runtime_error("cannot read " DISAGREEMENT_CLASSES);
  std::vector<DisagreementClass> classes;
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line.front() == '#') continue;
    const std::vector<std::string> columns = columnsOf(line);
    if (columns.size() != 5 || (columns[1] != "we" && columns[1] != "GnuTLS")) {
      throw std::runtime_error("no class: " + line);
    }
    classes.push_back(
        {columns[0], columns[1] == "we", wordsOf(columns[2]), wordsOf(columns[3]), columns[4]});
  }
  return classes;
}

Classified classify(const std::vector<DisagreementClass>& classes,
                    const std::set<std::string>& features, const Judgement& ours,
                    const Judgement& theirs) {
  Classified classified;
  const Judgement& refusal = ours.accepts() ? theirs : ours;
  for (const std::string& finding : refusal.findings) {
    const auto found =
        std::find_if(classes.begin(), classes.end(), [&](const DisagreementClass& one) {
          return one.weAccept == ours.accepts() && holds(one, finding, features);
        });
    if (found == classes.end()) {
      classified.unexplained.insert(finding);
    } else {
      classified.classes.insert(found->name);
    }
  }
  return classified;
}
