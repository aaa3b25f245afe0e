#ifndef TRUSTLIB_TRUST_ENGINE_H
#define TRUSTLIB_TRUST_ENGINE_H

#include <list>
#include <string>

#include "trustlib/CertificateBlacklist.h"
#include "trustlib/CertificateExceptionStore.h"
#include "trustlib/CertificateTrustInfo.h"

// Judges one certificate chain, for one domain. Set what is known, then verify. The
// setters borrow: what they are given must live until verify() has returned. NULL means
// "not given" everywhere. One engine belongs to one thread at a time.
class TRUSTLIB_EXPORT TrustEngine : public Object {
 public:
  // The domain that the names of the certificate must cover; without one no name is checked.
  virtual void setDomainName(const std::string* domainName)
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // Further domains, any of which will do in place of the first.
  virtual void setAltDomainName(const std::list<std::string>* altDomainNames)
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // The trust store, by application and class; "common" and "user_trusted" by default.
  virtual void setTrustStore(const std::string* appName, const std::string* className)
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // Where to look for a user's decision when the chain is not trusted.
  virtual void setCertificateExceptionStore(CertificateExceptionStore* store)
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // The blacklist to consult.
  virtual void setCertificateBlacklist(CertificateBlacklist* blacklist)
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // Runs the verification and returns the verdict, which the caller owns. Blocks on the
  // certificate-manager service. Throws TrustManagerException when there can be no verdict,
  // and its subtype PpsTimeoutException when the service did not answer in time.
  virtual CertificateTrustInfo* verify() const TRUSTLIB_THROWS(TrustManagerException) = 0;
};

#endif
