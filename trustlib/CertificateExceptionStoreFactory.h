#ifndef TRUSTLIB_CERTIFICATE_EXCEPTION_STORE_FACTORY_H
#define TRUSTLIB_CERTIFICATE_EXCEPTION_STORE_FACTORY_H

#include <pthread.h>

#include <map>
#include <string>

#include "trustlib/CertificateExceptionStore.h"

// The exception stores of this process, one for each directory path as it is spelt. They
// belong to the factory and live until clean(): never delete one.
//
// The operations of the factory do not lock: threads that share it take turns among
// themselves. The stores that it hands out lock for themselves.
class TRUSTLIB_EXPORT CertificateExceptionStoreFactory {
 public:
  // The store over the directory of that path; the same object for an equal path. Two
  // spellings of one directory are two stores. Throws when the path is NULL or the directory
  // cannot be made; a later call tries again. The name is spelt as it is on purpose.
  static CertificateExceptionStore* getCertificiateExceptionStore(const std::string* path)
      TRUSTLIB_THROWS(TrustManagerException);

  // The store of this user: below HOME, or /var/temp without one. HOME is looked up once for
  // the life of the process.
  static CertificateExceptionStore* getLocalCertificiateExceptionStore()
      TRUSTLIB_THROWS(TrustManagerException);

  // Removes all decisions of all stores FROM DISK, and the stores with them: every pointer
  // handed out before is then invalid. Throws when a store cannot be cleared; that one and
  // those after it, in the order of their paths, are then still there.
  static void clean() TRUSTLIB_THROWS(TrustManagerException);

 private:
  static std::map<std::string, CertificateExceptionStore*> _certificateExceptionStores;
  static pthread_mutex_t _certificateExceptionStoresMutex;
};

#endif
