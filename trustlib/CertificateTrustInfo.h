#ifndef TRUSTLIB_CERTIFICATE_TRUST_INFO_H
#define TRUSTLIB_CERTIFICATE_TRUST_INFO_H

#include <list>
#include <string>

#include "trustlib/Certificate.h"

// The verdict of one verification. It never changes once made. What the accessors
// return by pointer belongs to the verdict and lives as long as it does.
class TRUSTLIB_EXPORT CertificateTrustInfo : public Object {
 public:
  // True when the chain is to be trusted, be it through a stored user exception.
  virtual bool isValid() const TRUSTLIB_THROWS(TrustManagerException) = 0;

  // The CertificateWarnings found; they stay even where an exception made the verdict valid.
  virtual unsigned long long getWarnings() const TRUSTLIB_THROWS(TrustManagerException) = 0;

  // The domain that was checked, or NULL when none was.
  virtual const std::string* getDomainName() const TRUSTLIB_THROWS(TrustManagerException) = 0;

  // The chain that the verdict is about, leaf first; never NULL.
  virtual const std::list<Certificate*>* getCertificateChain() const
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // True exactly when the verdict is valid because a stored user exception matched.
  virtual bool isException() const TRUSTLIB_THROWS(TrustManagerException) = 0;

  // True when REVOKED is among the warnings, also where an exception made the verdict valid.
  virtual bool isRevoked() const TRUSTLIB_THROWS(TrustManagerException) = 0;
};

#endif
