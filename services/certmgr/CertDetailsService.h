#ifndef SERVICES_CERTMGR_CERTDETAILSSERVICE_H
#define SERVICES_CERTMGR_CERTDETAILSSERVICE_H

#include <ctime>
#include <optional>
#include <string>

#include "platform/objects/ControlRequest.h"
#include "services/certmgr/ChainFiles.h"
#include "services/certmgr/TrustStores.h"

// Answers requests: parse, read the files, evaluate, name the chain, encode. Safe
// from several threads.
class CertDetailsService {
 public:
  // Verdicts are about `when`, or the time of the request. `chainDirectory` is for
  // ChainFiles.
  CertDetailsService(TrustSources sources, const std::string& chainDirectory,
                     std::optional<std::time_t> when);

  // The answer to one request, whose files are read with the rights of who sent it. Throws
  // std::runtime_error, whose text is the answer's "err", when the request cannot be used.
  std::string answer(const ControlRequest& asked);

  // Forgets what it knows of stores, so that each is read anew when it is next asked for.
  void reload();

 private:
  TrustStores stores_;
  ChainFiles chainFiles_;
  std::optional<std::time_t> when_;
};

#endif
