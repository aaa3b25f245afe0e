#include "services/certmgr/Evaluator.h"

#include <algorithm>
#include <utility>

#include "services/certmgr/path/Digest.h"
#include "services/certmgr/path/Moment.h"
#include "services/certmgr/path/PathSearch.h"

namespace {

// Names everything that a verdict rests on but the time.
std::string keyOf(const PathInput& input) {
  std::vector<const std::string*> fingerprints;
  fingerprints.reserve(input.others.size());
  for (const CertificatePtr& other : input.others) fingerprints.push_back(&other->fingerprint);
  std::sort(fingerprints.begin(), fingerprints.end(),
            [](const auto* one, const auto* other) { return *one < *other; });
  std::string key = std::to_string(input.store.generation()) + "/" + input.leaf->fingerprint;
  for (const std::string* fingerprint : fingerprints) key += *fingerprint;
  return sha256Of(key);
}

std::size_t footprintOf(const Evaluation& evaluation) {
  std::size_t bytes = 512;
  for (const CertificatePtr& certificate : evaluation.path) bytes += certificate->footprint();
  for (const Finding& finding : evaluation.findings) {
    bytes += sizeof finding + finding.evidence.capacity();
  }
  return bytes;
}

}  // namespace

Evaluator::Evaluator(EvaluatorOptions options)
    : options_(std::move(options)),
      signatures_(options_.signatures),
      certificates_(options_.certificateBytes),
      verdicts_(options_.verdictBytes) {}

CertificatePtr Evaluator::read(const std::string& der, std::size_t place) {
  const std::string fingerprint = sha256Of(der);
  if (std::optional<CertificatePtr> known = certificates_.find(fingerprint)) return *known;
  try {
    CertificatePtr certificate = ParsedCertificate::parse(der, fingerprint);
    certificates_.keep(fingerprint, certificate, certificate->footprint());
    return certificate;
  } catch (const DerError& error) {
    throw UnreadableCertificate(place, error.what());
  }
}

std::shared_ptr<const Evaluation> Evaluator::recall(const std::string& key, std::int64_t now) {
  const std::optional<KnownVerdict> known = verdicts_.find(key);
  if (!known || now < known->evaluation->from || now >= known->evaluation->until) return {};
  if (Clock::now() - known->made >= options_.verdictAge) return {};
  return known->evaluation;
}

Verdict Evaluator::evaluate(const std::vector<std::string>& chain,
                            const std::shared_ptr<const TrustStore>& store, std::int64_t now) {
  PathInput input{read(chain.at(0), 0), {}, *store, options_.policies};
  for (std::size_t i = 1; i < chain.size(); ++i) input.others.push_back(read(chain[i], i));
  const std::string key = keyOf(input);
  if (auto known = recall(key, now)) return {std::move(known), true};

  Moment moment(now);
  Budget budget(options_.budget);
  auto evaluation =
      std::make_shared<const Evaluation>(findPath(input, moment, budget, signatures_));
  verdicts_.keep(key, {evaluation, Clock::now()}, footprintOf(*evaluation));
  return {std::move(evaluation), false};
}

void Evaluator::forget() {
  verdicts_.clear();
  certificates_.clear();
}
