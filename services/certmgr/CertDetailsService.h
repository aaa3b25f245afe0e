#ifndef SERVICES_CERTMGR_CERTDETAILSSERVICE_H
#define SERVICES_CERTMGR_CERTDETAILSSERVICE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "services/certmgr/CertDetailsRequest.h"
#include "services/certmgr/ChainFiles.h"
#include "services/certmgr/Evaluator.h"
#include "services/certmgr/TrustStores.h"

// Answers requests: parse, read the files, evaluate, name the chain, encode. Safe
// from several threads.
class CertDetailsService {
 public:
  // Verdicts are about `when` (seconds since 1970), or the time of the request.
  // `chainDirectory` is for ChainFiles, whose failures this throws.
  CertDetailsService(TrustSources sources, const std::string& chainDirectory,
                     std::optional<std::int64_t> when, EvaluatorOptions options = {});

  // The answer to one request text. Throws std::runtime_error, whose text is the
  // answer's "err", when the request cannot be used.
  std::string answer(const std::string& text);

  // Loads the stores anew with the next requests, and forgets all verdicts.
  void reload();

 private:
  Verdict judge(const CertDetailsRequest& request, const std::vector<std::string>& sent);

  TrustStores stores_;
  Evaluator evaluator_;
  ChainFiles chainFiles_;
  std::optional<std::int64_t> when_;
};

#endif
