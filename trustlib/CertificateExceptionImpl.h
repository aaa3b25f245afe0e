#ifndef TRUSTLIB_CERTIFICATE_EXCEPTION_IMPL_H
#define TRUSTLIB_CERTIFICATE_EXCEPTION_IMPL_H

#include <list>
#include <string>

#include "trustlib/CertificateException.h"

// A record with its own copies of the domain and the chain.
class TRUSTLIB_EXPORT CertificateExceptionImpl : public CertificateException {
 public:
  // `domain` may be NULL; a NULL chain makes an empty one.
  CertificateExceptionImpl(unsigned long long warnings, const std::string* domain,
                           const std::list<Certificate*>* chain)
      TRUSTLIB_THROWS(TrustManagerException);
  ~CertificateExceptionImpl() override;

  CertificateExceptionImpl(const CertificateExceptionImpl&) = delete;
  CertificateExceptionImpl& operator=(const CertificateExceptionImpl&) = delete;

  unsigned long long getWarnings() const TRUSTLIB_THROWS(TrustManagerException) override;
  const std::string* getDomainName() const TRUSTLIB_THROWS(TrustManagerException) override;
  const std::list<Certificate*>* getCertificateChain() const
      TRUSTLIB_THROWS(TrustManagerException) override;
  bool compare(const CertificateException* other) const
      TRUSTLIB_THROWS(TrustManagerException) override;
  int hash(unsigned char** hash, unsigned int* hashLength) const
      TRUSTLIB_THROWS(TrustManagerException) override;
  CertificateException* clone() const TRUSTLIB_THROWS(TrustManagerException) override;

 private:
  int digest(unsigned char* out) const;

  unsigned long long warnings;
  std::string* domain;  // owned, or NULL
  std::list<Certificate*> chain;
};

#endif
