#include "services/certmgr/CertDetailsService.h"

#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/objects/ControlServer.h"
#include "services/certmgr/CertDetailsAnswer.h"
#include "services/certmgr/records/CountersAnswer.h"
#include "services/certmgr/workers/PeerFiles.h"
#include "services/common/TextReader.h"
#include "services/common/TimeText.h"

namespace {

// A certificate that came with the request is named by the path it came by, so that
// the same chain gets the very paths that were sent; any other by a file of ours.
std::vector<std::string> nameChain(const std::vector<CertificatePtr>& chain,
                                   const std::vector<std::string>& sent,
                                   const std::vector<std::string>& paths, ChainFiles& files) {
  std::vector<std::string> named;
  for (const CertificatePtr& certificate : chain) {
    std::size_t at = 0;
    while (at < sent.size() && sent[at] != certificate->der) ++at;
    named.push_back(at < sent.size() ? paths[at] : files.pathOf(*certificate));
  }
  return named;
}

// The files at `paths`, as far as who asks may read them.
std::vector<std::string> readFiles(const std::vector<std::string>& paths,
                                   const ControlRequest& asker) {
  const PeerFiles files(asker);
  std::vector<std::string> contents;
  contents.reserve(paths.size());
  for (const std::string& path : paths) contents.push_back(files.read(path));
  return contents;
}

std::chrono::microseconds since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() -
                                                               start);
}

}  // namespace

CertDetailsService::CertDetailsService(TrustSources sources, const std::string& chainDirectory,
                                       std::optional<std::int64_t> when, RequestRecords& records,
                                       EvaluatorOptions options)
    : stores_(std::move(sources)),
      evaluator_(std::move(options)),
      chainFiles_(chainDirectory),
      when_(when),
      records_(records) {}

std::shared_ptr<const TrustStore> CertDetailsService::storeFor(const CertDetailsRequest& request) {
  auto store = stores_.get(request.application, request.className);
  // Several threads may see the same loads: only one counts them.
  const std::uint64_t loads = stores_.loads();
  std::uint64_t counted = countedLoads_;
  while (counted < loads) {
    if (!countedLoads_.compare_exchange_weak(counted, loads)) continue;
    records_.counters().add(Counters::storeLoads, loads - counted);
    break;
  }
  return store;
}

Verdict CertDetailsService::judge(const CertDetailsRequest& request,
                                  const std::shared_ptr<const TrustStore>& store,
                                  const std::vector<std::string>& sent) {
  try {
    return evaluator_.evaluate(sent, store, when_.value_or(currentTime()));
  } catch (const UnreadableCertificate& unreadable) {
    throw std::runtime_error("cannot use the file " + request.paths[unreadable.place()] +
                             ": it holds no DER certificate (" + unreadable.what() + ")");
  }
}

std::string CertDetailsService::answer(const ControlRequest& request) {
  const auto start = Clock::now();
  const Asker asker{request.pid, request.uid};
  records_.requested();
  try {
    return answerAny(request, start);
  } catch (const std::runtime_error& refusal) {
    records_.refused(asker, refusal.what(), since(start), false);
    throw;
  } catch (const std::exception& failure) {
    records_.refused(asker, failure.what(), since(start), true);
    throw;
  }
}

std::string CertDetailsService::answerAny(const ControlRequest& request, Clock::time_point start) {
  TextReader reader(request.text, TextReader::Form::attributes, "the request");
  const std::string message = reader.string("msg");
  if (message == "getcounters") return encodeCounters(records_.counters(), readRequestId(reader));
  return answerDetails(CertDetailsRequest::read(reader, message), request, start);
}

std::string CertDetailsService::answerDetails(const CertDetailsRequest& request,
                                              const ControlRequest& asked,
                                              Clock::time_point start) {
  const std::shared_ptr<const TrustStore> store = storeFor(request);
  const std::vector<std::string> sent = readFiles(request.paths, asked);
  const Verdict verdict = judge(request, store, sent);

  const Evaluation& evaluation = *verdict.evaluation;
  CertDetailsAnswer answer = CertDetailsAnswer::about(evaluation);
  answer.id = request.id;
  answer.chain = nameChain(evaluation.path, sent, request.paths, chainFiles_);
  std::string text = answer.encodeWithin(ControlServer::kMaxAnswerBytes);
  records_.decided({{asked.pid, asked.uid},
                    request.application,
                    request.className,
                    evaluation,
                    verdict.remembered,
                    since(start)});
  return text;
}

void CertDetailsService::reload() {
  stores_.forget();
  evaluator_.forget();
}
