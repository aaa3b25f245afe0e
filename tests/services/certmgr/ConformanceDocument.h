#ifndef TESTS_SERVICES_CERTMGR_CONFORMANCEDOCUMENT_H
#define TESTS_SERVICES_CERTMGR_CONFORMANCEDOCUMENT_H

#include <string>

// What docs/CONFORMANCE.md says between the lines <!-- NAME --> and <!-- /NAME -->, which a test
// holds against what it measures. Throws std::runtime_error when it has no such part.
std::string conformanceDocumentPart(const std::string& name);

#endif
