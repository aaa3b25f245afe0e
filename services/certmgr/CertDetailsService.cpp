#include "services/certmgr/CertDetailsService.h"

#include <utility>
#include <vector>

#include "platform/objects/ControlServer.h"
#include "services/certmgr/CertDetailsAnswer.h"
#include "services/certmgr/CertDetailsRequest.h"
#include "services/certmgr/Evaluator.h"
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

}  // namespace

CertDetailsService::CertDetailsService(TrustSources sources, const std::string& chainDirectory,
                                       std::optional<std::time_t> when)
    : stores_(std::move(sources)), chainFiles_(chainDirectory), when_(when) {}

std::string CertDetailsService::answer(const std::string& text) {
  const CertDetailsRequest request = CertDetailsRequest::parse(text);
  const auto store = stores_.get(request.application, request.className);
  std::vector<X509Ptr> sent;
  for (const std::string& path : request.paths) sent.push_back(readDerCertificate(path));
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
  return answer.encodeWithin(ControlServer::kMaxAnswerBytes);
}
