#ifndef TRUSTLIB_CERTIFICATE_H
#define TRUSTLIB_CERTIFICATE_H

#include "trustlib/Export.h"
#include "trustlib/Object.h"
#include "trustlib/Throws.h"
#include "trustlib/util/TrustManagerException.h"

// One X.509 certificate in DER form. It never changes once made, so any number of
// threads may read one.
class TRUSTLIB_EXPORT Certificate : public Object {
 public:
  // The DER bytes; they belong to the certificate and live as long as it does.
  virtual const unsigned char* getDer() const TRUSTLIB_THROWS(TrustManagerException) = 0;

  // Number of DER bytes.
  virtual unsigned int getDerLength() const TRUSTLIB_THROWS(TrustManagerException) = 0;

  // True when both hold the same DER bytes. NULL equals nothing.
  virtual bool compare(const Certificate* other) const TRUSTLIB_THROWS(TrustManagerException) = 0;

  // A new, independent copy, which the caller owns.
  virtual Certificate* clone() const TRUSTLIB_THROWS(TrustManagerException) = 0;
};

#endif
