#ifndef TOOLS_TRUSTCTL_VERIFICATION_H
#define TOOLS_TRUSTCTL_VERIFICATION_H

#include <optional>
#include <string>
#include <vector>

#include "services/common/CertificateView.h"
#include "tools/trustctl/CertificateInput.h"

// What is asked about a chain.
struct Question {
  std::vector<CertificateDer> chain;  // leaf first
  std::optional<std::string> domain;  // nothing: no name is checked
  std::vector<std::string> altDomains;
  std::string application;  // with className: the trust store; empty for the usual one
  std::string className;
  int timeoutSeconds = 30;  // how long to wait for the service
  bool isPrivate = false;   // the services are this run's own
};

// The library's verdict, ready for showing.
struct Verdict {
  bool trusted = false;
  bool byException = false;
  bool revoked = false;
  unsigned long long warnings = 0;     // CertificateWarnings
  std::vector<CertificateView> chain;  // leaf first, as the service settled on it
};

// Has the library judge the chain, over the services that PPS_RUNTIME_DIR leads to. Throws
// CommandError (undecided) when there can be no verdict, Interrupted on a signal.
Verdict judge(const Question& question);

#endif
