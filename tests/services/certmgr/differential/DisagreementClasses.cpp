#include "tests/services/certmgr/differential/DisagreementClasses.h"

#include <algorithm>
#include <stdexcept>

#include "tests/services/certmgr/ConformanceTable.h"

namespace {

std::set<std::string> setOf(const std::string& column) {
  const std::vector<std::string> words = wordsOf(column);
  return {words.begin(), words.end()};
}

bool holds(const DisagreementClass& one, const std::string& finding,
           const std::set<std::string>& features) {
  return one.findings.count(finding) != 0 &&
         std::any_of(one.features.begin(), one.features.end(),
                     [&](const std::string& feature) { return features.count(feature) != 0; });
}

}  // namespace

std::vector<DisagreementClass> readDisagreementClasses() {
  std::vector<DisagreementClass> classes;
  for (const auto& row : readTable(DISAGREEMENT_CLASSES, 5)) {
    if (row[1] != "we" && row[1] != "GnuTLS" && row[1] != "older GnuTLS") {
      throw std::runtime_error("who accepts: " + row[1]);
    }
    classes.push_back({row[0], row[1], setOf(row[2]), setOf(row[3]), row[4]});
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
          return (one.whoAccepts == "we") == ours.accepts() && holds(one, finding, features);
        });
    if (found == classes.end()) {
      classified.unexplained.insert(finding);
    } else {
      classified.classes.insert(found->name);
    }
  }
  return classified;
}
