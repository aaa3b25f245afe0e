#ifndef SERVICES_CERTMGR_CERTDETAILSSERVICE_H
#define SERVICES_CERTMGR_CERTDETAILSSERVICE_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/objects/ControlRequest.h"
#include "services/certmgr/CertDetailsRequest.h"
#include "services/certmgr/ChainFiles.h"
#include "services/certmgr/Evaluator.h"
#include "services/certmgr/records/RequestRecords.h"
#include "services/certmgr/stores/TrustStores.h"

// Answers requests: parse, read the files, evaluate, name the chain, encode, note. Safe
// from several threads.
class CertDetailsService {
 public:
  // Verdicts are about `when` (seconds since 1970), or the time of the request.
  // `chainDirectory` is for ChainFiles. What becomes of requests is noted in `records`, which
  // must live as long.
  CertDetailsService(TrustSources sources, const std::string& chainDirectory,
                     std::optional<std::int64_t> when, RequestRecords& records,
                     EvaluatorOptions options = {});

  // The answer to one request, whose files are read with the rights of who sent it.
  // Throws std::runtime_error, whose text is the answer's "err", when it cannot be used.
  std::string answer(const ControlRequest& request);

  // Loads the stores anew with the next requests, and forgets all verdicts.
  void reload();

 private:
  using Clock = std::chrono::steady_clock;

  std::string answerAny(const ControlRequest& request, Clock::time_point start);
  std::string answerDetails(const CertDetailsRequest& request, const ControlRequest& asked,
                            Clock::time_point start);
  std::shared_ptr<const TrustStore> storeFor(const CertDetailsRequest& request);
  Verdict judge(const CertDetailsRequest& request, const std::shared_ptr<const TrustStore>& store,
                const std::vector<std::string>& sent);

  TrustStores stores_;
  Evaluator evaluator_;
  ChainFiles chainFiles_;
  std::optional<std::int64_t> when_;
  RequestRecords& records_;
  std::atomic<std::uint64_t> countedLoads_{0};
};

#endif
