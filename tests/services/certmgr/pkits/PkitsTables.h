#ifndef TESTS_SERVICES_CERTMGR_PKITS_PKITSTABLES_H
#define TESTS_SERVICES_CERTMGR_PKITS_PKITSTABLES_H

#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "services/certmgr/path/PolicyProcessing.h"

// One test of the public suite, or one part of it: a row of pkits_cases.txt.
struct PkitsCase {
  std::string number;  // "4.8.1.2": section 4.8, test 1, part 2
  std::string title;
  bool isValid = false;  // what the suite expects
  std::string finding;   // the warning that a refusal must have; or nothing
  PolicySettings policies;
  std::vector<std::string> certificates;  // leaf first; names of files without their ending
  std::vector<std::string> lists;
};

// A case where we say otherwise than the suite, on purpose: a row of divergences.txt.
struct PkitsDivergence {
  std::string number;
  std::string verdict;  // as PkitsRun words it
  std::string reason;   // a sentence; equal ones belong together
};

// "4.8", the section that a case belongs to.
std::string sectionOf(const std::string& number);

// Both throw std::runtime_error with the line that cannot be read.
std::vector<PkitsCase> readPkitsCases();
std::vector<PkitsDivergence> readPkitsDivergences();
// The sections' titles by their numbers, in the order of the suite.
std::vector<std::pair<std::string, std::string>> readPkitsSections();

// How test output shows a case.
void PrintTo(const PkitsCase& one, std::ostream* out);

#endif
