#include "trustlib/TrustEngineImpl.h"

#include "trustlib/CertificateExceptionImpl.h"
#include "trustlib/CertificateManager.h"
#include "trustlib/CertificateTrustInfoImpl.h"
#include "trustlib/CertificateUtilities.h"
#include "trustlib/CertificateWarnings.h"
#include "trustlib/openssl/OpenSslUtilities.h"
#include "trustlib/util/ObjectLifecycleManager.h"
#include "trustlib/util/StringUtilities.h"
#include "trustlib/util/TemporaryFiles.h"
#include "trustlib/util/Utilities.h"

namespace {

const int defaultPpsTimeout = 30000;

void addObjects(const std::list<Certificate*>& certificates, ObjectLifecycleManager* guard) {
  for (Certificate* certificate : certificates) {
    guard->addObject(certificate);
  }
}

}  // namespace

const std::string TrustEngineImpl::defaultTrustStoreAppName("common");
const std::string TrustEngineImpl::defaultTrustStoreClassName("user_trusted");

TrustEngineImpl::TrustEngineImpl(const std::list<Certificate*>* chain)
    TRUSTLIB_THROWS(TrustManagerException)
    : chain(new std::list<Certificate*>()),
      domainName(nullptr),
      altDomainNames(nullptr),
      trustStoreAppName(nullptr),
      trustStoreClassName(nullptr),
      exceptionStore(nullptr),
      blacklist(nullptr),
      ppsTimeout(defaultPpsTimeout) {
  try {
    CertificateUtilities::copyCertificateChain(chain, this->chain, true);
  } catch (...) {
    // Only another Certificate's clone() can fail here; no destructor runs after it.
    CertificateUtilities::clearCertificateChain(this->chain);
    delete this->chain;
    throw;
  }
}

TrustEngineImpl::~TrustEngineImpl() {
  CertificateUtilities::clearCertificateChain(chain);
  delete chain;
}

void TrustEngineImpl::setDomainName(const std::string* domainName)
    TRUSTLIB_THROWS(TrustManagerException) {
  this->domainName = domainName;
}

void TrustEngineImpl::setAltDomainName(const std::list<std::string>* altDomainNames)
    TRUSTLIB_THROWS(TrustManagerException) {
  this->altDomainNames = altDomainNames;
}

void TrustEngineImpl::setTrustStore(const std::string* appName, const std::string* className)
    TRUSTLIB_THROWS(TrustManagerException) {
  trustStoreAppName = appName;
  trustStoreClassName = className;
}

void TrustEngineImpl::setCertificateExceptionStore(CertificateExceptionStore* store)
    TRUSTLIB_THROWS(TrustManagerException) {
  exceptionStore = store;
}

void TrustEngineImpl::setCertificateBlacklist(CertificateBlacklist* blacklist)
    TRUSTLIB_THROWS(TrustManagerException) {
  this->blacklist = blacklist;
}

void TrustEngineImpl::setPpsTimeout(int timeout) TRUSTLIB_THROWS(TrustManagerException) {
  ppsTimeout = timeout;
}

CertificateTrustInfo* TrustEngineImpl::verify() const TRUSTLIB_THROWS(TrustManagerException) {
  ObjectLifecycleManager guard;

  std::list<Certificate*> built;
  buildCertificateTrustChain(chain, &built);
  addObjects(built, &guard);

  std::list<Certificate*> settled;
  CertificateDetails* details = verifyCertificateTrust(&built, &settled);
  guard.addObject(details);
  addObjects(settled, &guard);

  bool valid = details->isValid();
  unsigned long long warnings = details->getWarnings();
  checkCertificateBlacklist(details->getSerialNumber(), details->getCommonNames(),
                            details->getSubjectAltNames(), &valid, &warnings);
  checkHostNameMismatch(details->getCommonNames(), details->getSubjectAltNames(), &valid,
                        &warnings);
  const bool isException = valid ? false : checkCertificateException(&settled, &valid, warnings);

  CertificateTrustInfo* info =
      new CertificateTrustInfoImpl(valid, warnings, domainName, &settled, isException);
  guard.addReturnObject(info);
  guard.successfulReturn();
  return info;
}

void TrustEngineImpl::buildCertificateTrustChain(const std::list<Certificate*>* chain,
                                                 std::list<Certificate*>* out) const {
  std::string directory = "/var/certmgr/" + *appName() + "/" + *className();
  StringUtilities::tolower(directory);
  OpenSslUtilities::buildTrustChain(&directory, chain, out);
}

// Everything stays under the guard until the temporary files are gone: their deletion may
// throw, and then neither the details nor the certificates may be lost.
CertificateDetails* TrustEngineImpl::verifyCertificateTrust(const std::list<Certificate*>* chain,
                                                            std::list<Certificate*>* out) const {
  ObjectLifecycleManager guard;
  CertificateDetails* details = nullptr;
  std::list<Certificate*> settled;
  {
    TemporaryFiles files;
    files.createTemporaryCertificateFiles(chain);
    const std::list<std::string>* paths = files.getTemporaryFilePaths();

    CertificateManager manager;
    details = manager.verifyCertificateTrust(paths, appName(), className(), ppsTimeout);
    guard.addReturnObject(details);

    if (Utilities::compareLists(details->getCertificateChain(), paths)) {
      CertificateUtilities::copyCertificateChain(chain, &settled, true);
    } else {
      CertificateUtilities::loadCertificateChain(details->getCertificateChain(), &settled);
    }
    for (Certificate* certificate : settled) {
      guard.addReturnObject(certificate);
    }
  }
  CertificateUtilities::copyCertificateChain(&settled, out, false);
  guard.successfulReturn();
  return details;
}

void TrustEngineImpl::checkCertificateBlacklist(const std::string* serialNumber,
                                                const std::list<std::string>* commonNames,
                                                const std::list<std::string>* subjectAltNames,
                                                bool* valid, unsigned long long* warnings) const {
  if (blacklist == nullptr) {
    return;
  }
  switch (blacklist->isCertificateBlacklisted(serialNumber, commonNames, subjectAltNames)) {
    case 0:
      break;
    case 1:
      *valid = false;
      *warnings = CertificateWarnings::NO_TRUSTED;  // replaces all others on purpose
      break;
    default:
      *valid = false;
      *warnings |= CertificateWarnings::REVOKED;
      break;
  }
}

void TrustEngineImpl::checkHostNameMismatch(const std::list<std::string>* commonNames,
                                            const std::list<std::string>* subjectAltNames,
                                            bool* valid, unsigned long long* warnings) const {
  if (domainName == nullptr ||
      CertificateUtilities::certificateDomainMatches(domainName, commonNames, subjectAltNames) ||
      CertificateUtilities::certificateDomainMatches(altDomainNames, commonNames,
                                                     subjectAltNames)) {
    return;
  }
  *valid = false;
  *warnings |= CertificateWarnings::DOMAINNAME_MISMATCH;
}

bool TrustEngineImpl::checkCertificateException(const std::list<Certificate*>* chain, bool* valid,
                                                unsigned long long warnings) const {
  if (exceptionStore == nullptr) {
    return false;
  }
  const CertificateExceptionImpl exception(warnings, domainName, chain);
  const bool exists = exceptionStore->exceptionExists(&exception);
  if (exists) {
    *valid = true;
  }
  return exists;
}

const std::string* TrustEngineImpl::appName() const {
  return trustStoreAppName != nullptr ? trustStoreAppName : &defaultTrustStoreAppName;
}

const std::string* TrustEngineImpl::className() const {
  return trustStoreClassName != nullptr ? trustStoreClassName : &defaultTrustStoreClassName;
}
