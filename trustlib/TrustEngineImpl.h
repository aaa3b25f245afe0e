#ifndef TRUSTLIB_TRUST_ENGINE_IMPL_H
#define TRUSTLIB_TRUST_ENGINE_IMPL_H

#include <list>
#include <string>

#include "trustlib/CertificateDetails.h"
#include "trustlib/TrustEngine.h"

// The engine: builds the chain over OpenSSL, has the certificate-manager service judge it,
// then applies the blacklist, the host-name check and the user's stored decisions. Every
// step runs for every chain; only the last one can turn a verdict for the better.
class TRUSTLIB_EXPORT TrustEngineImpl : public TrustEngine {
 public:
  static const std::string defaultTrustStoreAppName;
  static const std::string defaultTrustStoreClassName;

  // Keeps a deep copy of the chain, leaf first; NULL makes an empty one.
  explicit TrustEngineImpl(const std::list<Certificate*>* chain)
      TRUSTLIB_THROWS(TrustManagerException);
  ~TrustEngineImpl() override;

  TrustEngineImpl(const TrustEngineImpl&) = delete;
  TrustEngineImpl& operator=(const TrustEngineImpl&) = delete;

  void setDomainName(const std::string* domainName) TRUSTLIB_THROWS(TrustManagerException) override;
  void setAltDomainName(const std::list<std::string>* altDomainNames)
      TRUSTLIB_THROWS(TrustManagerException) override;
  void setTrustStore(const std::string* appName, const std::string* className)
      TRUSTLIB_THROWS(TrustManagerException) override;
  void setCertificateExceptionStore(CertificateExceptionStore* store)
      TRUSTLIB_THROWS(TrustManagerException) override;
  void setCertificateBlacklist(CertificateBlacklist* blacklist)
      TRUSTLIB_THROWS(TrustManagerException) override;
  CertificateTrustInfo* verify() const TRUSTLIB_THROWS(TrustManagerException) override;

  // How long to wait for the service, in whole seconds; negative waits without limit. The
  // default of 30000 is kept on purpose, long as it is.
  virtual void setPpsTimeout(int timeout) TRUSTLIB_THROWS(TrustManagerException);

 private:
  void buildCertificateTrustChain(const std::list<Certificate*>* chain,
                                  std::list<Certificate*>* out) const;
  CertificateDetails* verifyCertificateTrust(const std::list<Certificate*>* chain,
                                             std::list<Certificate*>* out) const;
  void checkCertificateBlacklist(const std::string* serialNumber,
                                 const std::list<std::string>* commonNames,
                                 const std::list<std::string>* subjectAltNames, bool* valid,
                                 unsigned long long* warnings) const;
  void checkHostNameMismatch(const std::list<std::string>* commonNames,
                             const std::list<std::string>* subjectAltNames, bool* valid,
                             unsigned long long* warnings) const;
  bool checkCertificateException(const std::list<Certificate*>* chain, bool* valid,
                                 unsigned long long warnings) const;
  const std::string* appName() const;
  const std::string* className() const;

  std::list<Certificate*>* chain;  // owned
  const std::string* domainName;
  const std::list<std::string>* altDomainNames;
  const std::string* trustStoreAppName;
  const std::string* trustStoreClassName;
  CertificateExceptionStore* exceptionStore;
  CertificateBlacklist* blacklist;
  int ppsTimeout;
};

#endif
