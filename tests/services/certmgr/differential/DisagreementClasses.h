#ifndef TESTS_SERVICES_CERTMGR_DIFFERENTIAL_DISAGREEMENTCLASSES_H
#define TESTS_SERVICES_CERTMGR_DIFFERENTIAL_DISAGREEMENTCLASSES_H

#include <set>
#include <string>
#include <vector>

#include "tests/services/certmgr/differential/Judges.h"

// A known kind of disagreement: a row of classes.txt.
struct DisagreementClass {
  std::string name;
  std::string whoAccepts;          // "we" or "GnuTLS", or "older GnuTLS": then newer ones agree
  std::set<std::string> findings;  // of the one that refuses
  std::set<std::string> features;  // the chain has one of these
  std::string explanation;         // what happens, and why we are right
};

// Throws std::runtime_error with the line that cannot be read.
std::vector<DisagreementClass> readDisagreementClasses();

// What a disagreement about one chain comes down to.
struct Classified {
  std::set<std::string> classes;      // by name
  std::set<std::string> unexplained;  // findings that belong to none
};

// Each finding of the judge that refuses has to be in a class: a chain with two oddities is
// explained only when both are.
Classified classify(const std::vector<DisagreementClass>& classes,
                    const std::set<std::string>& features, const Judgement& ours,
                    const Judgement& theirs);

#endif
