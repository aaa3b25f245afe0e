#ifndef TESTS_SERVICES_CERTMGR_DIFFERENTIAL_DIFFERENTIALRUN_H
#define TESTS_SERVICES_CERTMGR_DIFFERENTIAL_DIFFERENTIALRUN_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct DifferentialOptions {
  std::uint64_t seed = 0;
  std::uint64_t first = 0;  // the first chain's number; any chain can be had alone
  std::uint64_t count = 0;
};

struct DifferentialReport {
  std::uint64_t bothAccept = 0;
  std::uint64_t bothRefuse = 0;
  std::map<std::string, std::uint64_t> disagreements;  // by class; a chain may be in several
  std::vector<std::string> unexplained;                // a text for each such chain
};

// Has both judges judge the chains of that seed with those numbers, and adds to the report.
void runDifferential(const DifferentialOptions& options, DifferentialReport& report);

// The numbers of those chains that we judge differently when all but the leaf come in another
// order, by an evaluator that remembers nothing.
std::vector<std::uint64_t> chainsJudgedByTheirOrder(const DifferentialOptions& options);

#endif
