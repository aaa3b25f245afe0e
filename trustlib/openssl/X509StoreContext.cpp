#include "trustlib/openssl/X509StoreContext.h"

#include <openssl/x509_vfy.h>

#include <new>

X509StoreContext::X509StoreContext() TRUSTLIB_THROWS(TrustManagerException)
    : context(X509_STORE_CTX_new()) {
  if (context == nullptr) {
    throw TrustManagerException("OpenSslUtilities: failed to allocate %s", "trust store context");
  }
}

X509StoreContext::~X509StoreContext() {
  X509_STORE_CTX_free(context);
}

void X509StoreContext::init(X509Store* store, x509_st* target, X509Stack* untrusted)
    TRUSTLIB_THROWS(TrustManagerException) {
  if (X509_STORE_CTX_init(context, store->getStruct(), target, untrusted->getStruct()) == 0) {
    throw TrustManagerException("OpenSslUtilities: failed to initialize trust store context");
  }
}

int X509StoreContext::verify() TRUSTLIB_THROWS(TrustManagerException) {
  return X509_verify_cert(context);
}

int X509StoreContext::getError(int* code, const char** text)
    TRUSTLIB_THROWS(TrustManagerException) {
  const int error = X509_STORE_CTX_get_error(context);
  if (code != nullptr) {
    *code = error;
  }
  if (error != X509_V_OK && text != nullptr) {
    *text = X509_verify_cert_error_string(error);
  }
  return error;
}

X509Stack* X509StoreContext::getCertificateChain() TRUSTLIB_THROWS(TrustManagerException) {
  stack_st_X509* chain = X509_STORE_CTX_get0_chain(context);
  if (chain == nullptr) {
    throw TrustManagerException("OpenSslUtilities: failed to retrieve trust chain from context");
  }
  X509Stack* wrapper = new (std::nothrow) X509Stack(chain, true);
  if (wrapper == nullptr) {
    throw TrustManagerException("OpenSslUtilities: failed to allocate %s", "X509Stack");
  }
  return wrapper;
}
