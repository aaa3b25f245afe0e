#ifndef TRUSTLIB_DEFAULT_TRUST_MANAGER_H
#define TRUSTLIB_DEFAULT_TRUST_MANAGER_H

#include "trustlib/TrustManager.h"

// Puts the library's own parts together. verify() takes every part from the operations of this
// object, so a subclass that overrides one of them changes verify() too.
class TRUSTLIB_EXPORT DefaultTrustManager : public TrustManager {
 public:
  DefaultTrustManager() TRUSTLIB_THROWS(TrustManagerException);
  ~DefaultTrustManager() override;

  Certificate* createX509Certificate(const unsigned char* der, unsigned int length)
      TRUSTLIB_THROWS(TrustManagerException) override;
  CertificateExceptionStore* getExceptionStore(const std::string* path)
      TRUSTLIB_THROWS(TrustManagerException) override;
  CertificateExceptionStore* getLocalExceptionStore()
      TRUSTLIB_THROWS(TrustManagerException) override;
  CertificateBlacklist* getDefaultCertificateBlacklist()
      TRUSTLIB_THROWS(TrustManagerException) override;
  TrustEngine* createTrustEngine(const std::list<Certificate*>* chain)
      TRUSTLIB_THROWS(TrustManagerException) override;
  TrustDialog* createDefaultTrustDialog(CertificateTrustInfo* info,
                                        CertificateExceptionStore* store)
      TRUSTLIB_THROWS(TrustManagerException) override;
  bool verify(std::string* domainName, std::list<Certificate*>* chain)
      TRUSTLIB_THROWS(TrustManagerException) override;
};

#endif
