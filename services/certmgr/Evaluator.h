#ifndef SERVICES_CERTMGR_EVALUATOR_H
#define SERVICES_CERTMGR_EVALUATOR_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "services/certmgr/path/Budget.h"
#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/Evaluation.h"
#include "services/certmgr/path/PolicyProcessing.h"
#include "services/certmgr/path/Remembered.h"
#include "services/certmgr/path/SignatureMemory.h"
#include "services/certmgr/path/TrustStore.h"

struct EvaluatorOptions {
  std::size_t certificateBytes = 16U << 20;  // of read certificates that are remembered
  std::size_t signatures = 8192;             // checked ones that are remembered
  std::size_t verdictBytes = 32U << 20;      // of remembered verdicts; 0: none
  std::chrono::seconds verdictAge{300};      // the longest that one is remembered
  PolicySettings policies{};
  std::int64_t budget = Budget::kDefault;  // what one evaluation may cost
};

// One of the certificates is none.
class UnreadableCertificate : public DerError {
 public:
  UnreadableCertificate(std::size_t place, const std::string& reason)
      : DerError(reason), place_(place) {}

  std::size_t place() const { return place_; }  // in the chain, 0 being the leaf

 private:
  std::size_t place_;
};

struct Verdict {
  std::shared_ptr<const Evaluation> evaluation;
  bool remembered = false;  // made for an earlier request
};

// Judges chains, and remembers what it learned: certificates it read, signatures it checked,
// verdicts. What it remembers changes how long an answer takes, never the answer. Safe from
// several threads.
class Evaluator {
 public:
  explicit Evaluator(EvaluatorOptions options = {});

  // The verdict on a leaf and what came along with it, all of them DER, at `now` (seconds since
  // 1970). The order of what came along does not matter. A remembered verdict is given only for
  // the same bytes and the same store, at a moment at which no date that it rests on has been
  // crossed. Throws UnreadableCertificate and std::bad_alloc.
  Verdict evaluate(const std::vector<std::string>& chain,
                   const std::shared_ptr<const TrustStore>& store, std::int64_t now);

  // Forgets all verdicts and certificates.
  void forget();

 private:
  using Clock = std::chrono::steady_clock;
  struct KnownVerdict {
    std::shared_ptr<const Evaluation> evaluation;
    Clock::time_point made;
  };

  CertificatePtr read(const std::string& der, std::size_t place);
  std::shared_ptr<const Evaluation> recall(const std::string& key, std::int64_t now);

  const EvaluatorOptions options_;
  SignatureMemory signatures_;
  Remembered<CertificatePtr> certificates_;  // by fingerprint
  Remembered<KnownVerdict> verdicts_;
};

#endif
