#include "tools/trustctl/Verification.h"

#include <list>
#include <memory>
#include <stdexcept>

#include <fmt/format.h>

#include "services/common/FileSystem.h"
#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/Interruption.h"
#include "trustlib/CertificateExceptionImpl.h"
#include "trustlib/CertificateImpl.h"
#include "trustlib/DefaultCertificateBlacklist.h"
#include "trustlib/DefaultTrustDialog.h"
#include "trustlib/FileCertificateExceptionStore.h"
#include "trustlib/TrustEngineImpl.h"
#include "trustlib/util/PpsTimeoutException.h"

namespace {

std::unique_ptr<CertificateTrustInfo> judge(const Question& question,
                                            CertificateExceptionStore* store) {
  std::list<CertificateImpl> certificates;
  std::list<Certificate*> chain;
  for (const CertificateDer& der : question.chain) {
    certificates.emplace_back(der.data(), static_cast<unsigned int>(der.size()));
    chain.push_back(&certificates.back());
  }
  const std::list<std::string> altDomains(question.altDomains.begin(), question.altDomains.end());

  TrustEngineImpl engine(&chain);
  engine.setDomainName(question.domain ? &*question.domain : nullptr);
  engine.setAltDomainName(altDomains.empty() ? nullptr : &altDomains);
  if (!question.application.empty()) {
    engine.setTrustStore(&question.application, &question.className);
  }
  engine.setCertificateExceptionStore(store);
  engine.setCertificateBlacklist(DefaultCertificateBlacklist::getInstance());
  engine.setPpsTimeout(question.timeoutSeconds);
  return std::unique_ptr<CertificateTrustInfo>(engine.verify());
}

CertificateView view(const CertificateDer& der) {
  try {
    return viewCertificate(der);
  } catch (const std::runtime_error& error) {
    throw CommandError(ExitStatus::undecided,
                       fmt::format("a certificate that the service settled on cannot be shown: {}; "
                                   "try --private",
                                   error.what()));
  }
}

std::vector<CertificateDer> bytesOf(const CertificateTrustInfo& info) {
  std::vector<CertificateDer> chain;
  for (const Certificate* certificate : *info.getCertificateChain()) {
    const unsigned char* der = certificate->getDer();
    chain.emplace_back(der, der + certificate->getDerLength());
  }
  return chain;
}

Verdict describe(const CertificateTrustInfo& info) {
  Verdict verdict{info.isValid(), info.isException(), info.isRevoked(), info.getWarnings(), {}};
  for (const CertificateDer& der : bytesOf(info)) {
    verdict.chain.push_back(view(der));
  }
  return verdict;
}

std::string describeFailure(const std::string& reason, const char* advice) {
  if (reason.find("more than an answer of ") != std::string::npos) {
    return "no verdict on this chain: its certificates carry more names than the certificate "
           "services can answer with";
  }
  return fmt::format("no verdict on this chain: {}; check the input{}", printableText(reason, 300),
                     advice);
}

std::unique_ptr<CertificateExceptionStore> openStore(const std::string& directory) {
  try {
    return std::make_unique<FileCertificateExceptionStore>(&directory);
  } catch (const TrustManagerException& error) {
    throw CommandError(
        ExitStatus::undecided,
        fmt::format("cannot open the store of decisions '{}': {}; name another with --store, or "
                    "leave the question out with --no-dialog",
                    printableText(directory), printableText(error.what(), 300)));
  }
}

// A store that is not there holds no decision, and need not be made to find that out.
std::unique_ptr<CertificateExceptionStore> openStoreIfThere(const std::string& directory) {
  if (!isDirectory(directory)) {
    return nullptr;
  }
  return openStore(directory);
}

}  // namespace

Verification::Verification(const Question& question)
    : storeDirectory_(question.store), store_(openStoreIfThere(question.store)) {
  Interruption::check();
  const char* advice = question.isPrivate ? "" : ", or try --private";
  try {
    info_ = judge(question, store_.get());
    Interruption::check();
    verdict_ = describe(*info_);
  } catch (const PpsTimeoutException&) {
    Interruption::check();
    throw CommandError(
        ExitStatus::undecided,
        fmt::format("the certificate services did not answer within {} second{}; "
                    "allow more with --timeout{}",
                    question.timeoutSeconds, question.timeoutSeconds == 1 ? "" : "s", advice));
  } catch (const TrustManagerException& error) {
    Interruption::check();  // an interrupted wait is an error of the library
    throw CommandError(ExitStatus::undecided, describeFailure(error.what(), advice));
  }
}

Verification::~Verification() = default;

std::vector<CertificateDer> Verification::chain() const {
  return bytesOf(*info_);
}

void Verification::ask() {
  Interruption::check();
  if (store_ == nullptr) {
    store_ = openStore(storeDirectory_);
  }
  try {
    const bool accepted = DefaultTrustDialog(info_.get(), store_.get()).display();
    Interruption::check();
    const bool remembered = isStored();
    verdict_.decision = remembered ? Decision::always
                        : accepted ? Decision::once
                                   : Decision::declined;
    // An equal decision of another process, made just now, counts as well.
    verdict_.trusted = accepted || remembered;
  } catch (const TrustManagerException& error) {
    Interruption::check();
    throw CommandError(ExitStatus::undecided,
                       fmt::format("the user could not be asked, or the answer not be stored: {}; "
                                   "leave the question out with --no-dialog",
                                   printableText(error.what(), 300)));
  }
}

bool Verification::isStored() const {
  const CertificateExceptionImpl record(info_->getWarnings(), info_->getDomainName(),
                                        info_->getCertificateChain());
  return store_->exceptionExists(&record);
}
