#ifndef TESTS_SERVICES_CERTMGR_PKITS_PKITSRUN_H
#define TESTS_SERVICES_CERTMGR_PKITS_PKITSRUN_H

#include <string>

#include "tests/services/certmgr/pkits/PkitsTables.h"

// Whether the suite's files are on this machine, and what to do when they are not.
bool hasPkitsData();
inline constexpr const char* kPkitsPackage =
    "the suite's files are missing: install python3-cryptography-vectors and configure again";

// What our evaluator says: "valid", or the names of its warnings in bit order.
std::string judge(const PkitsCase& one);

// Whether that is what the suite expects: validity, and what a refusal is about.
bool isExpected(const PkitsCase& one, const std::string& verdict);

#endif
