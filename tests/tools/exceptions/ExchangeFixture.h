#ifndef TESTS_TOOLS_EXCEPTIONS_EXCHANGEFIXTURE_H
#define TESTS_TOOLS_EXCEPTIONS_EXCHANGEFIXTURE_H

#include <string>
#include <vector>

#include "tests/support/CertificateMaker.h"
#include "tests/tools/exceptions/ExceptionsFixture.h"

// A document that holds these decisions, as export writes it.
std::string documentOf(const std::vector<ExceptionRecord>& records);

// Brings decisions into stores and out of them.
class ExchangeTest : public ExceptionsTest {
 protected:
  // import of that document from standard input, with `more` before the "-".
  ProgramRun importText(const std::string& document, std::vector<std::string> more = {});

  // The records in the store, in the order of their files' names.
  std::vector<ExceptionRecord> storedRecords() const;
};

#endif
