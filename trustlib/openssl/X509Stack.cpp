#include "trustlib/openssl/X509Stack.h"

#include <openssl/x509.h>

namespace {

stack_st_X509* checked(stack_st_X509* stack) {
  if (stack == nullptr) {
    throw TrustManagerException("OpenSslUtilities: failed to allocate %s", "STACK_OF(X509)*");
  }
  return stack;
}

}  // namespace

X509Stack::X509Stack() TRUSTLIB_THROWS(TrustManagerException)
    : stack(checked(sk_X509_new_null())), borrowed(false) {}

X509Stack::X509Stack(stack_st_X509* stack, bool borrowed) TRUSTLIB_THROWS(TrustManagerException)
    : stack(checked(stack)), borrowed(borrowed) {}

X509Stack::~X509Stack() {
  if (stack != nullptr && !borrowed) {
    sk_X509_pop_free(stack, X509_free);
    stack = nullptr;
  }
}

void X509Stack::push(x509_st* certificate) TRUSTLIB_THROWS(TrustManagerException) {
  // A failure is not reported, but what was given away must not get lost either.
  if (sk_X509_push(stack, certificate) == 0) {
    X509_free(certificate);
  }
}

x509_st* X509Stack::get(int index) TRUSTLIB_THROWS(TrustManagerException) {
  return sk_X509_value(stack, index);
}

int X509Stack::size() TRUSTLIB_THROWS(TrustManagerException) {
  return sk_X509_num(stack);
}

stack_st_X509* X509Stack::getStruct() TRUSTLIB_THROWS(TrustManagerException) {
  return stack;
}
