#ifndef SERVICES_CERTMGR_CERTDETAILSANSWER_H
#define SERVICES_CERTMGR_CERTDETAILSANSWER_H

#include <optional>
#include <string>
#include <vector>

#include "services/certmgr/Warnings.h"

// The answer to "getcertdetails". "validity" is VALID exactly when there are no
// warnings; "warnings" is there only when it is not.
struct CertDetailsAnswer {
  std::optional<std::string> id;  // as the request had it
  std::string serial;
  std::vector<std::string> commonNames;
  std::vector<std::string> subjectAltNames;
  Warnings warnings = 0;
  std::vector<std::string> chain;  // paths, leaf first

  // The attribute text. Throws std::runtime_error when the codec refuses a member.
  std::string encode() const;
};

#endif
