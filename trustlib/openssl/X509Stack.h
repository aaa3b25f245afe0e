#ifndef TRUSTLIB_OPENSSL_X509_STACK_H
#define TRUSTLIB_OPENSSL_X509_STACK_H

#include "trustlib/Export.h"
#include "trustlib/Object.h"
#include "trustlib/Throws.h"
#include "trustlib/util/TrustManagerException.h"

struct stack_st_X509;
struct x509_st;

// Owner, or borrower, of one OpenSSL stack of certificates.
class TRUSTLIB_EXPORT X509Stack : public Object {
 public:
  // A new, empty stack of its own.
  X509Stack() TRUSTLIB_THROWS(TrustManagerException);

  // Adopts the stack; with `borrowed` it stays somebody else's and is never freed here.
  // Throws on NULL.
  X509Stack(stack_st_X509* stack, bool borrowed) TRUSTLIB_THROWS(TrustManagerException);

  // Frees an own stack and every certificate in it.
  ~X509Stack() override;

  X509Stack(const X509Stack&) = delete;
  X509Stack& operator=(const X509Stack&) = delete;

  // Adds the certificate, which now belongs to the stack.
  void push(x509_st* certificate) TRUSTLIB_THROWS(TrustManagerException);

  // The certificate at the index, which stays the stack's; NULL outside it.
  x509_st* get(int index) TRUSTLIB_THROWS(TrustManagerException);

  int size() TRUSTLIB_THROWS(TrustManagerException);

  // The OpenSSL stack, which stays this object's.
  stack_st_X509* getStruct() TRUSTLIB_THROWS(TrustManagerException);

 private:
  stack_st_X509* stack;
  bool borrowed;
};

#endif
