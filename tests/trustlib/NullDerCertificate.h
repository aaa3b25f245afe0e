#ifndef TESTS_TRUSTLIB_NULL_DER_CERTIFICATE_H
#define TESTS_TRUSTLIB_NULL_DER_CERTIFICATE_H

#include "trustlib/Certificate.h"

// Somebody else's implementation, which has no bytes at all.
class NullDerCertificate : public Certificate {
 public:
  const unsigned char* getDer() const override { return nullptr; }
  unsigned int getDerLength() const override { return 0; }
  bool compare(const Certificate* other) const override {
    return other != nullptr && other->getDer() == nullptr;
  }
  Certificate* clone() const override { return new NullDerCertificate; }
};

#endif
