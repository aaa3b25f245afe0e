#ifndef SERVICES_COMMON_OPENSSLOWNERS_H
#define SERVICES_COMMON_OPENSSLOWNERS_H

#include <memory>

#include <openssl/bio.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

// Owners for what OpenSSL hands out. An X509Ptr owns one reference.
template <auto Free>
struct OpenSslDeleter {
  template <typename T>
  void operator()(T* object) const {
    Free(object);
  }
};
template <typename T, auto Free>
using OpenSslOwner = std::unique_ptr<T, OpenSslDeleter<Free>>;

using X509Ptr = OpenSslOwner<X509, X509_free>;
using X509CrlPtr = OpenSslOwner<X509_CRL, X509_CRL_free>;
using X509StorePtr = OpenSslOwner<X509_STORE, X509_STORE_free>;
using X509StoreCtxPtr = OpenSslOwner<X509_STORE_CTX, X509_STORE_CTX_free>;
using BioPtr = OpenSslOwner<BIO, BIO_free>;
using GeneralNamesPtr = OpenSslOwner<GENERAL_NAMES, GENERAL_NAMES_free>;

// A stack that owns neither less nor more than one reference of each element.
struct X509StackFree {
  void operator()(STACK_OF(X509) * stack) const { sk_X509_pop_free(stack, X509_free); }
};
using X509StackPtr = std::unique_ptr<STACK_OF(X509), X509StackFree>;

// A further reference to the same certificate.
inline X509Ptr shareCertificate(X509* certificate) {
  X509_up_ref(certificate);
  return X509Ptr(certificate);
}

#endif
