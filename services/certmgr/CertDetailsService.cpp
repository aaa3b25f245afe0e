#include "services/certmgr/CertDetailsService.h"

#include <stdexcept>
#include <utility>
#include <vector>

#include "services/certmgr/AnswerNames.h"
#include "services/certmgr/CertDetailsAnswer.h"
#include "services/certmgr/CertDetailsRequest.h"
#include "services/certmgr/PeerFiles.h"
#include "services/common/CertificateNames.h"
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

}  // namespace

CertDetailsService::CertDetailsService(TrustSources sources, const std::string& chainDirectory,
                                       std::optional<std::int64_t> when, EvaluatorOptions options)
    : stores_(std::move(sources)),
      evaluator_(std::move(options)),
      chainFiles_(chainDirectory),
      when_(when) {}

Verdict CertDetailsService::judge(const CertDetailsRequest& request,
                                  const std::vector<std::string>& sent) {
  const auto store = stores_.get(request.application, request.className);
  try {
    return evaluator_.evaluate(sent, store, when_.value_or(currentTime()));
  } catch (const UnreadableCertificate& unreadable) {
    throw std::runtime_error("cannot use the file " + request.paths[unreadable.place()] +
                             ": it holds no DER certificate (" + unreadable.what() + ")");
  }
}

std::string CertDetailsService::answer(const ControlRequest& asked) {
  const CertDetailsRequest request = CertDetailsRequest::parse(asked.text);
  const std::vector<std::string> sent = readFiles(request.paths, asked);
  const Verdict verdict = judge(request, sent);

  const Evaluation& evaluation = *verdict.evaluation;
  const ParsedCertificate& leaf = *evaluation.path.front();
  CertDetailsAnswer answer;
  answer.id = request.id;
  answer.serial = serialNumberText(leaf.serial);
  answer.commonNames = commonNamesOf(leaf);
  answer.subjectAltNames = subjectAltNamesOf(leaf);
  answer.warnings = evaluation.warnings();
  answer.chain = nameChain(evaluation.path, sent, request.paths, chainFiles_);
  return answer.encode();
}

void CertDetailsService::reload() {
  stores_.forget();
  evaluator_.forget();
}
