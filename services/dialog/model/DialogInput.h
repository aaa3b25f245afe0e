#ifndef SERVICES_DIALOG_MODEL_DIALOGINPUT_H
#define SERVICES_DIALOG_MODEL_DIALOGINPUT_H

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "services/common/CertificateDer.h"

// Who asks, as the kernel tells it. Nothing here is fit for a screen yet.
struct Asker {
  std::string program;  // the path of what runs; empty where it cannot be told
  pid_t process = 0;
  std::string user;  // the name, or the number of a user without one
};

// An exception that the user has stored before.
struct EarlierException {
  std::optional<std::string> domain;
  unsigned long long warnings = 0;
  std::vector<CertificateDer> chain;  // leaf first
};

// All that a dialog is about, as it came.
struct DialogInput {
  Asker asker;
  std::optional<std::string> domain;
  unsigned long long warnings = 0;        // CertificateWarnings
  std::vector<CertificateDer> chain;      // leaf first, at least one, each a certificate
  std::vector<EarlierException> earlier;  // those for this very domain, in any order
  std::int64_t now = 0;                   // seconds since 1970-01-01T00:00:00Z
};

#endif
