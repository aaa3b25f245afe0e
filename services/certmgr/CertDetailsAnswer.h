#ifndef SERVICES_CERTMGR_CERTDETAILSANSWER_H
#define SERVICES_CERTMGR_CERTDETAILSANSWER_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "services/certmgr/Warnings.h"
#include "services/certmgr/path/Evaluation.h"

// The answer to "getcertdetails". "validity" is VALID exactly when there are no
// warnings; "warnings" is there only when it is not.
struct CertDetailsAnswer {
  std::optional<std::string> id;  // as the request had it
  std::string serial;
  std::vector<std::string> commonNames;
  std::vector<std::string> subjectAltNames;
  Warnings warnings = 0;
  std::vector<std::string> chain;  // paths, leaf first

  // What it says of a verdict; the id and the chain are left to the caller.
  static CertDetailsAnswer about(const Evaluation& evaluation);

  // The attribute text. Throws std::runtime_error when the codec refuses a member.
  std::string encode() const;

  // The same in at most `most` bytes. Names that do not fit make room as far as no client misses
  // them: first those other than DNS ones go, then duplicates, then what a wildcard covers; each
  // kind as a whole, and only while it is needed. Throws std::runtime_error when all that is
  // not enough: to leave out any other name would change verdicts.
  std::string encodeWithin(std::size_t most) const;
};

#endif
