#ifndef TRUSTLIB_CERTIFICATE_EXCEPTION_JSON_CODEC_H
#define TRUSTLIB_CERTIFICATE_EXCEPTION_JSON_CODEC_H

#include "trustlib/CertificateExceptionCodec.h"

// The form in which the file store keeps decisions: one JSON object,
//
//   {"version":1,"domain":"host.test","warnings":"4","chain":[{"der":"MIID..."},...]}
//
// with the DER bytes in base64, leaf first, and the warnings as signed decimal digits in a
// string. "domain" is left out for a record without one. Members that are not known are passed
// over, so that later programs may add some. A codec holds nothing that changes: any number of
// threads may use one.
class TRUSTLIB_EXPORT CertificateExceptionJsonCodec : public CertificateExceptionCodec {
 public:
  CertificateExceptionJsonCodec() TRUSTLIB_THROWS(TrustManagerException);
  ~CertificateExceptionJsonCodec() override;

  // A record with a NULL or an empty chain is refused.
  void encode(const CertificateException* exception, unsigned char** buffer, unsigned int* length)
      TRUSTLIB_THROWS(TrustManagerException, TrustManagerException*) override;

  // Versions above the codec's own are refused; lower ones read like it.
  void decode(const unsigned char* buffer, unsigned int length, CertificateException** exception)
      TRUSTLIB_THROWS(TrustManagerException, TrustManagerException*) override;

 private:
  int version;  // what is written, and the highest that is read
};

#endif
