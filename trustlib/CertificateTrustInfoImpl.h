#ifndef TRUSTLIB_CERTIFICATE_TRUST_INFO_IMPL_H
#define TRUSTLIB_CERTIFICATE_TRUST_INFO_IMPL_H

#include <list>
#include <string>

#include "trustlib/CertificateTrustInfo.h"

// A verdict with its own copies of the domain and the chain.
class TRUSTLIB_EXPORT CertificateTrustInfoImpl : public CertificateTrustInfo {
 public:
  // `valid` is the final verdict. `domainName` may be NULL; a NULL chain makes an empty one.
  CertificateTrustInfoImpl(bool valid, unsigned long long warnings, const std::string* domainName,
                           const std::list<Certificate*>* chain, bool isException)
      TRUSTLIB_THROWS(TrustManagerException);
  ~CertificateTrustInfoImpl() override;

  CertificateTrustInfoImpl(const CertificateTrustInfoImpl&) = delete;
  CertificateTrustInfoImpl& operator=(const CertificateTrustInfoImpl&) = delete;

  bool isValid() const TRUSTLIB_THROWS(TrustManagerException) override;
  unsigned long long getWarnings() const TRUSTLIB_THROWS(TrustManagerException) override;
  const std::string* getDomainName() const TRUSTLIB_THROWS(TrustManagerException) override;
  const std::list<Certificate*>* getCertificateChain() const
      TRUSTLIB_THROWS(TrustManagerException) override;
  bool isException() const TRUSTLIB_THROWS(TrustManagerException) override;
  bool isRevoked() const TRUSTLIB_THROWS(TrustManagerException) override;

 private:
  bool valid;
  unsigned long long warnings;
  std::string* domainName;  // owned, or NULL
  std::list<Certificate*> chain;
  bool exception;
};

#endif
