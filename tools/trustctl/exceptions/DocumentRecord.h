#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_DOCUMENTRECORD_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_DOCUMENTRECORD_H

#include <optional>
#include <string>
#include <vector>

#include "tools/trustctl/exceptions/ExceptionRecord.h"

// One decision as its texts stand in a document.
struct DocumentRecord {
  struct Certificate {
    std::optional<std::string> sha256, der;
  };
  std::optional<std::string> domain, warnings, created, expires, reason;
  std::optional<std::vector<std::string>> warningNames;
  std::optional<std::vector<Certificate>> chain;
};

// Checks all of it and gives the decision. Throws std::runtime_error that says what is wrong.
ExceptionRecord checkedRecord(const DocumentRecord& read);

#endif
