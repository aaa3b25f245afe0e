#include "services/certmgr/CertDetailsService.h"

#include <utility>
#include <vector>

#include "services/certmgr/CertDetailsAnswer.h"
#include "services/certmgr/CertDetailsRequest.h"
#include "services/certmgr/Evaluator.h"
#include "services/certmgr/PeerFiles.h"
#include "services/common/CertificateFiles.h"
#include "services/common/CertificateNames.h"

namespace {

// A certificate that came with the request is named by the path it came by, so that
// the same chain gets the very paths that were sent; any other by a file of ours.
std::vector<std::string> nameChain(const std::vector<X509Ptr>& chain,
                                   const std::vector<X509Ptr>& sent,
                                   const std::vector<std::string>& paths, ChainFiles& files) {
  std::vector<std::string> named;
  for (const X509Ptr& certificate : chain) {
    std::size_t at = 0;
    while (at < sent.size() && X509_cmp(sent[at].get(), certificate.get()) != 0) ++at;
    named.push_back(at < sent.size() ? paths[at] : files.pathOf(certificate.get()));
  }
  return named;
}

// The certificates of `paths`, as far as who asks may read them.
std::vector<X509Ptr> readCertificates(const std::vector<std::string>& paths,
                                      const ControlRequest& asker) {
  const PeerFiles files(asker);
  std::vector<X509Ptr> certificates;
  certificates.reserve(paths.size());
  for (const std::string& path : paths) {
    certificates.push_back(parseDerCertificate(path, files.read(path)));
  }
  return certificates;
}

}  // namespace

CertDetailsService::CertDetailsService(TrustSources sources, const std::string& chainDirectory,
                                       std::optional<std::time_t> when)
    : stores_(std::move(sources)), chainFiles_(chainDirectory), when_(when) {}

void CertDetailsService::reload() {
  stores_.forget();
}

std::string CertDetailsService::answer(const ControlRequest& asked) {
  const CertDetailsRequest request = CertDetailsRequest::parse(asked.text);
  const auto store = stores_.get(request.application, request.className);
  const std::vector<X509Ptr> sent = readCertificates(request.paths, asked);
  std::vector<X509*> intermediates;
  for (std::size_t i = 1; i < sent.size(); ++i) intermediates.push_back(sent[i].get());

  X509* leaf = sent.front().get();
  const Evaluation evaluation = evaluateChain(leaf, intermediates, *store, when_);
  CertDetailsAnswer answer;
  answer.id = request.id;
  answer.serial = serialNumberOf(leaf);
  answer.commonNames = commonNamesOf(leaf);
  answer.subjectAltNames = subjectAltNamesOf(leaf);
  answer.warnings = evaluation.warnings;
  answer.chain = nameChain(evaluation.chain, sent, request.paths, chainFiles_);
  return answer.encode();
}
