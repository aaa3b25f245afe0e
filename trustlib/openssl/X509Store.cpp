#include "trustlib/openssl/X509Store.h"

#include <openssl/x509_vfy.h>

X509Store::X509Store() TRUSTLIB_THROWS(TrustManagerException) : store(X509_STORE_new()) {
  if (store == nullptr) {
    throw TrustManagerException("OpenSslUtilities: failed to allocate %s", "X509_STORE");
  }
}

X509Store::~X509Store() {
  X509_STORE_free(store);
}

void X509Store::addLookupDirectory(const char* directory, long fileType)
    TRUSTLIB_THROWS(TrustManagerException) {
  X509_LOOKUP_METHOD* method = X509_LOOKUP_hash_dir();
  if (method == nullptr) {
    throw TrustManagerException("OpenSslUtilities: failed to allocate %s",
                                "X509_LOOKUP for X509_STORE");
  }
  X509_LOOKUP* lookup = X509_STORE_add_lookup(store, method);  // owned by the store
  if (lookup == nullptr) {
    throw TrustManagerException("OpenSslUtilities: failed to create trust store lookup");
  }
  if (X509_LOOKUP_ctrl(lookup, X509_L_ADD_DIR, directory, fileType, nullptr) == 0) {
    throw TrustManagerException("OpenSslUtilities: failed to add trust store directory");
  }
}

void X509Store::setFlags(unsigned long flags) TRUSTLIB_THROWS(TrustManagerException) {
  X509_STORE_set_flags(store, flags);
}

x509_store_st* X509Store::getStruct() TRUSTLIB_THROWS(TrustManagerException) {
  return store;
}
