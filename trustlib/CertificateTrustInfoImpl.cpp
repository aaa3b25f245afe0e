#include "trustlib/CertificateTrustInfoImpl.h"

#include "trustlib/CertificateUtilities.h"
#include "trustlib/CertificateWarnings.h"

CertificateTrustInfoImpl::CertificateTrustInfoImpl(bool valid, unsigned long long warnings,
                                                   const std::string* domainName,
                                                   const std::list<Certificate*>* chain,
                                                   bool isException)
    TRUSTLIB_THROWS(TrustManagerException)
    : valid(valid), warnings(warnings), domainName(nullptr), exception(isException) {
  try {
    CertificateUtilities::copyCertificateChain(chain, &this->chain, true);
    if (domainName != nullptr) {
      this->domainName = new std::string(*domainName);
    }
  } catch (...) {
    // Only another Certificate's clone() can fail here; no destructor runs after it.
    CertificateUtilities::clearCertificateChain(&this->chain);
    throw;
  }
}

CertificateTrustInfoImpl::~CertificateTrustInfoImpl() {
  delete domainName;
  CertificateUtilities::clearCertificateChain(&chain);
}

bool CertificateTrustInfoImpl::isValid() const TRUSTLIB_THROWS(TrustManagerException) {
  return valid;
}

unsigned long long CertificateTrustInfoImpl::getWarnings() const
    TRUSTLIB_THROWS(TrustManagerException) {
  return warnings;
}

const std::string* CertificateTrustInfoImpl::getDomainName() const
    TRUSTLIB_THROWS(TrustManagerException) {
  return domainName;
}

const std::list<Certificate*>* CertificateTrustInfoImpl::getCertificateChain() const
    TRUSTLIB_THROWS(TrustManagerException) {
  return &chain;
}

bool CertificateTrustInfoImpl::isException() const TRUSTLIB_THROWS(TrustManagerException) {
  return exception;
}

bool CertificateTrustInfoImpl::isRevoked() const TRUSTLIB_THROWS(TrustManagerException) {
  return (warnings & CertificateWarnings::REVOKED) != 0;
}
