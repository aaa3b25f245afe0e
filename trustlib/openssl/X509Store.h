#ifndef TRUSTLIB_OPENSSL_X509_STORE_H
#define TRUSTLIB_OPENSSL_X509_STORE_H

#include "trustlib/Export.h"
#include "trustlib/Object.h"
#include "trustlib/Throws.h"
#include "trustlib/util/TrustManagerException.h"

struct x509_store_st;

// Owner of one OpenSSL certificate store.
class TRUSTLIB_EXPORT X509Store : public Object {
 public:
  X509Store() TRUSTLIB_THROWS(TrustManagerException);
  ~X509Store() override;

  X509Store(const X509Store&) = delete;
  X509Store& operator=(const X509Store&) = delete;

  // Looks certificates up in a directory of files named by subject hash. A directory that is
  // missing is no failure: nothing will be found in it.
  void addLookupDirectory(const char* directory, long fileType)
      TRUSTLIB_THROWS(TrustManagerException);

  void setFlags(unsigned long flags) TRUSTLIB_THROWS(TrustManagerException);

  // The OpenSSL store, which stays this object's.
  x509_store_st* getStruct() TRUSTLIB_THROWS(TrustManagerException);

 private:
  x509_store_st* store;
};

#endif
