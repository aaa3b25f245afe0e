#include "trustlib/CertificateExceptionStoreFactory.h"

#include "trustlib/FileCertificateExceptionStore.h"
#include "trustlib/util/FileUtilities.h"
#include "trustlib/util/MutexLocker.h"

std::map<std::string, CertificateExceptionStore*>
    CertificateExceptionStoreFactory::_certificateExceptionStores;
pthread_mutex_t CertificateExceptionStoreFactory::_certificateExceptionStoresMutex =
    PTHREAD_MUTEX_INITIALIZER;

// The holders below never lock, and are meant not to: callers take turns among themselves.

CertificateExceptionStore* CertificateExceptionStoreFactory::getCertificiateExceptionStore(
    const std::string* path) TRUSTLIB_THROWS(TrustManagerException) {
  const MutexLocker holder(&_certificateExceptionStoresMutex);
  if (path == nullptr) {
    return new FileCertificateExceptionStore(path);  // throws: no store is without a path
  }
  // Stays null when the store cannot be made, so that the next call tries again.
  CertificateExceptionStore*& store = _certificateExceptionStores[*path];
  if (store == nullptr) {
    store = new FileCertificateExceptionStore(path);
  }
  return store;
}

CertificateExceptionStore* CertificateExceptionStoreFactory::getLocalCertificiateExceptionStore()
    TRUSTLIB_THROWS(TrustManagerException) {
  std::string path;
  FileUtilities::getLocalCertificateExceptionStoreDirPath(&path);
  return getCertificiateExceptionStore(&path);
}

void CertificateExceptionStoreFactory::clean() TRUSTLIB_THROWS(TrustManagerException) {
  const MutexLocker holder(&_certificateExceptionStoresMutex);
  while (!_certificateExceptionStores.empty()) {
    const auto entry = _certificateExceptionStores.begin();
    if (entry->second != nullptr) {
      entry->second->clear();
      delete entry->second;
    }
    _certificateExceptionStores.erase(entry);
  }
}
