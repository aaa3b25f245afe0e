#ifndef TRUSTLIB_CERTIFICATE_EXCEPTION_STORE_H
#define TRUSTLIB_CERTIFICATE_EXCEPTION_STORE_H

#include "trustlib/CertificateException.h"

// Where a user's decisions are kept and looked up.
class TRUSTLIB_EXPORT CertificateExceptionStore : public Object {
 public:
  // Stores a copy of the record: true when it is new, false when an equal one is there.
  virtual bool addException(const CertificateException* exception)
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // True when an equal record is stored.
  virtual bool exceptionExists(const CertificateException* exception) const
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // Removes every stored record.
  virtual void clear() TRUSTLIB_THROWS(TrustManagerException) = 0;
};

#endif
