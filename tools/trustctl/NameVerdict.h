#ifndef TOOLS_TRUSTCTL_NAMEVERDICT_H
#define TOOLS_TRUSTCTL_NAMEVERDICT_H

#include <string>
#include <vector>

#include <openssl/x509.h>

#include "services/dialog/model/DomainMatch.h"

// How one name of a certificate stands to a domain.
struct NameFinding {
  CertificateName name;  // not escaped
  NameMatch match;
};

// Whether the names of a certificate cover a domain, and why so or not.
struct NameVerdict {
  bool covered = false;               // what the library says
  bool unreadable = false;            // there are alternative names that cannot be read
  std::vector<NameFinding> findings;  // one for each name; `covers` only where covered
};

// The domain must hold no backslash and no control byte, which names are escaped with before
// the library sees them.
NameVerdict judgeNames(const X509* certificate, const std::string& domain);

// A word for programs: "label_count".
const char* reasonWord(NameReason reason);

// The reason in plain words, escaped: what this name has or lacks.
std::string reasonText(const NameVerdict& verdict, const NameFinding& finding);

// "DNS name", and the word for programs, "dns".
const char* kindText(CertificateName::Kind kind);
const char* kindWord(CertificateName::Kind kind);

#endif
