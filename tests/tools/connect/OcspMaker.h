#ifndef TESTS_TOOLS_CONNECT_OCSPMAKER_H
#define TESTS_TOOLS_CONNECT_OCSPMAKER_H

#include <string>

#include "tests/support/CertificateMaker.h"

// Makes an OCSP answer about one certificate: good, of 2020-01-01, until 2099-12-31, signed by
// the issuer. Times are "YYYYMMDDHHMMSSZ". Setters return *this; der() throws std::runtime_error
// when OpenSSL refuses.
class OcspMaker {
 public:
  OcspMaker(const TestCertificate& certificate, const TestCertificate& issuer)
      : certificate_(certificate), issuer_(issuer), signer_(issuer) {}

  OcspMaker& revoked(const std::string& time);
  OcspMaker& unknown();
  OcspMaker& nextUpdate(const std::string& time);  // empty for none
  OcspMaker& signedBy(const TestCertificate& signer);

  Bytes der() const;

 private:
  TestCertificate certificate_;
  TestCertificate issuer_;
  TestCertificate signer_;
  int status_ = 0;  // V_OCSP_CERTSTATUS_GOOD
  std::string revokedAt_;
  std::string nextUpdate_ = "20991231235959Z";
};

// An answer without content: the responder says that it should be asked again later.
Bytes ocspTryLater();

#endif
