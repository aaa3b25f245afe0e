#ifndef TRUSTLIB_CERTIFICATE_IMPL_H
#define TRUSTLIB_CERTIFICATE_IMPL_H

#include "trustlib/Certificate.h"

// The certificate that keeps its own copy of the DER bytes. It does not parse them.
class TRUSTLIB_EXPORT CertificateImpl : public Certificate {
 public:
  // Copies `length` bytes of `der`; NULL makes an empty certificate, whatever the length.
  CertificateImpl(const unsigned char* der, unsigned int length)
      TRUSTLIB_THROWS(TrustManagerException);
  ~CertificateImpl() override;

  CertificateImpl(const CertificateImpl&) = delete;
  CertificateImpl& operator=(const CertificateImpl&) = delete;

  const unsigned char* getDer() const TRUSTLIB_THROWS(TrustManagerException) override;
  unsigned int getDerLength() const TRUSTLIB_THROWS(TrustManagerException) override;
  bool compare(const Certificate* other) const TRUSTLIB_THROWS(TrustManagerException) override;
  Certificate* clone() const TRUSTLIB_THROWS(TrustManagerException) override;

 private:
  unsigned char* der;  // from malloc, owned
  unsigned int derLength;
};

#endif
