#ifndef TRUSTLIB_CERTIFICATE_EXCEPTION_H
#define TRUSTLIB_CERTIFICATE_EXCEPTION_H

#include <list>
#include <string>

#include "trustlib/Certificate.h"

// A user's decision to accept one chain for one domain in spite of a given set of
// warnings. It never changes once made; what it returns by pointer belongs to it.
class TRUSTLIB_EXPORT CertificateException : public Object {
 public:
  // The CertificateWarnings that the user accepted.
  virtual unsigned long long getWarnings() const TRUSTLIB_THROWS(TrustManagerException) = 0;

  // The domain, or NULL when the record has none.
  virtual const std::string* getDomainName() const TRUSTLIB_THROWS(TrustManagerException) = 0;

  // The accepted chain, in the order given when the record was made.
  virtual const std::list<Certificate*>* getCertificateChain() const
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // True when warnings, domain (case included) and chain are all the same.
  virtual bool compare(const CertificateException* other) const
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // SHA-1 over warnings, domain and chain, into a new buffer that the caller frees with
  // free(). Returns 0, or a nonzero code with both outputs untouched. Unequal records may
  // hash alike: confirm with compare.
  virtual int hash(unsigned char** hash, unsigned int* hashLength) const
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // A new deep copy, which the caller owns.
  virtual CertificateException* clone() const TRUSTLIB_THROWS(TrustManagerException) = 0;
};

#endif
