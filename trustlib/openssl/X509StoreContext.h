#ifndef TRUSTLIB_OPENSSL_X509_STORE_CONTEXT_H
#define TRUSTLIB_OPENSSL_X509_STORE_CONTEXT_H

#include "trustlib/openssl/X509Stack.h"
#include "trustlib/openssl/X509Store.h"

struct x509_store_ctx_st;

// Owner of one OpenSSL verification context.
class TRUSTLIB_EXPORT X509StoreContext : public Object {
 public:
  X509StoreContext() TRUSTLIB_THROWS(TrustManagerException);
  ~X509StoreContext() override;

  X509StoreContext(const X509StoreContext&) = delete;
  X509StoreContext& operator=(const X509StoreContext&) = delete;

  // Readies the context to verify `target`. All three are borrowed and must outlive it.
  void init(X509Store* store, x509_st* target, X509Stack* untrusted)
      TRUSTLIB_THROWS(TrustManagerException);

  // 1 verified, 0 not verified, negative when the verifier could not run.
  int verify() TRUSTLIB_THROWS(TrustManagerException);

  // The code of the error that verify() met, 0 for none; also stored through `code`. For a
  // nonzero one OpenSSL's static text is stored through `text`. Both may be NULL.
  int getError(int* code, const char** text) TRUSTLIB_THROWS(TrustManagerException);

  // The chain as far as verify() built it. The caller owns the wrapper, but the chain stays
  // the context's: do not use the wrapper once the context is gone. Throws when there is none.
  X509Stack* getCertificateChain() TRUSTLIB_THROWS(TrustManagerException);

 private:
  x509_store_ctx_st* context;
};

#endif
