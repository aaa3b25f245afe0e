#include "tests/services/certmgr/pkits/PkitsRun.h"

#include <fstream>
#include <iterator>
#include <list>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "services/certmgr/Evaluator.h"
#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/TrustStore.h"

namespace {

// 2015-06-01: all of the suite is made for 2010 to 2030.
constexpr std::int64_t kNow = 1433116800;

std::string readFile(const std::string& name) {
  const std::string path = std::string(PKITS_DATA) + "/" + name;
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path);
  return {std::istreambuf_iterator<char>(in), {}};
}

std::shared_ptr<const TrustStore> storeFor(const PkitsCase& one) {
  auto store = std::make_shared<TrustStore>();
  store->add(Anchor{ParsedCertificate::parse(readFile("certs/TrustAnchorRootCertificate.crt"))});
  for (const std::string& list : one.lists) {
    try {
      store->add(RevocationList::parse(readFile("crls/" + list + ".crl")));
    } catch (const DerError&) {
      // As in a store directory: what is no list is passed over. One forged signature is none.
      continue;
    }
  }
  return store;
}

}  // namespace

bool hasPkitsData() {
  return !std::string_view(PKITS_DATA).empty();
}

std::string judge(const PkitsCase& one) {
  std::vector<std::string> chain;
  for (const std::string& certificate : one.certificates) {
    chain.push_back(readFile("certs/" + certificate + ".crt"));
  }
  EvaluatorOptions options;
  options.policies = one.policies;
  const Verdict verdict = Evaluator(options).evaluate(chain, storeFor(one), kNow);
  std::list<std::string> names;
  CertificateWarnings::appendNames(verdict.evaluation->warnings(), &names);
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
  return text.empty() ? "valid" : text;
}

bool isExpected(const PkitsCase& one, const std::string& verdict) {
  if (one.isValid) return verdict == "valid";
  return verdict != "valid" && verdict.find(one.finding) != std::string::npos;
}
