#include "trustlib/DefaultTrustManager.h"

#include "trustlib/CertificateExceptionStoreFactory.h"
#include "trustlib/CertificateImpl.h"
#include "trustlib/CertificateWarnings.h"
#include "trustlib/DefaultCertificateBlacklist.h"
#include "trustlib/DefaultTrustDialog.h"
#include "trustlib/TrustEngineImpl.h"
#include "trustlib/util/ObjectLifecycleManager.h"

DefaultTrustManager::DefaultTrustManager() TRUSTLIB_THROWS(TrustManagerException) {}

DefaultTrustManager::~DefaultTrustManager() = default;

Certificate* DefaultTrustManager::createX509Certificate(const unsigned char* der,
                                                        unsigned int length)
    TRUSTLIB_THROWS(TrustManagerException) {
  return new CertificateImpl(der, length);
}

CertificateExceptionStore* DefaultTrustManager::getExceptionStore(const std::string* path)
    TRUSTLIB_THROWS(TrustManagerException) {
  return CertificateExceptionStoreFactory::getCertificiateExceptionStore(path);
}

CertificateExceptionStore* DefaultTrustManager::getLocalExceptionStore()
    TRUSTLIB_THROWS(TrustManagerException) {
  return CertificateExceptionStoreFactory::getLocalCertificiateExceptionStore();
}

CertificateBlacklist* DefaultTrustManager::getDefaultCertificateBlacklist()
    TRUSTLIB_THROWS(TrustManagerException) {
  return DefaultCertificateBlacklist::getInstance();
}

TrustEngine* DefaultTrustManager::createTrustEngine(const std::list<Certificate*>* chain)
    TRUSTLIB_THROWS(TrustManagerException) {
  return new TrustEngineImpl(chain);
}

TrustDialog* DefaultTrustManager::createDefaultTrustDialog(CertificateTrustInfo* info,
                                                           CertificateExceptionStore* store)
    TRUSTLIB_THROWS(TrustManagerException) {
  return new DefaultTrustDialog(info, store);
}

bool DefaultTrustManager::verify(std::string* domainName, std::list<Certificate*>* chain)
    TRUSTLIB_THROWS(TrustManagerException) {
  ObjectLifecycleManager guard;
  CertificateExceptionStore* store = getLocalExceptionStore();
  TrustEngine* engine = createTrustEngine(chain);
  guard.addObject(engine);
  engine->setDomainName(domainName);
  engine->setCertificateExceptionStore(store);
  engine->setCertificateBlacklist(getDefaultCertificateBlacklist());

  CertificateTrustInfo* info = engine->verify();
  guard.addObject(info);
  bool trusted = info->isValid();
  if (!trusted && (info->getWarnings() & CertificateWarnings::REVOKED) == 0) {
    TrustDialog* dialog = createDefaultTrustDialog(info, store);
    guard.addObject(dialog);
    trusted = dialog->display();
  }
  guard.successfulReturn();
  return trusted;
}
