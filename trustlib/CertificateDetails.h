#ifndef TRUSTLIB_CERTIFICATE_DETAILS_H
#define TRUSTLIB_CERTIFICATE_DETAILS_H

#include <list>
#include <string>

#include "trustlib/Export.h"
#include "trustlib/Object.h"
#include "trustlib/Throws.h"
#include "trustlib/util/TrustManagerException.h"

// What the certificate-manager service says of one chain. The pointers it returns lead
// into the object and live as long as it does.
class TRUSTLIB_EXPORT CertificateDetails : public Object {
 public:
  // Not valid, no warnings, empty lists. A copy of the serial number is kept; NULL stays NULL.
  explicit CertificateDetails(const char* serialNumber) TRUSTLIB_THROWS(TrustManagerException);
  ~CertificateDetails() override;

  CertificateDetails(const CertificateDetails&) = delete;
  CertificateDetails& operator=(const CertificateDetails&) = delete;

  // Whether the service found the chain valid.
  bool isValid() TRUSTLIB_THROWS(TrustManagerException);
  void setValid(bool valid) TRUSTLIB_THROWS(TrustManagerException);

  // The CertificateWarnings found. They are only ever added.
  unsigned long long getWarnings() TRUSTLIB_THROWS(TrustManagerException);
  void addWarnings(unsigned long long flags) TRUSTLIB_THROWS(TrustManagerException);

  // The leaf's serial number, without white space and in lower case, or NULL.
  std::string* getSerialNumber() TRUSTLIB_THROWS(TrustManagerException);

  // The leaf's subject common names.
  std::list<std::string>* getCommonNames() TRUSTLIB_THROWS(TrustManagerException);

  // The leaf's alternative names, each led by its type ("DNS:", "IP Address:", ...).
  std::list<std::string>* getSubjectAltNames() TRUSTLIB_THROWS(TrustManagerException);

  // Paths of the DER files of the chain that the service settled on, leaf first.
  std::list<std::string>* getCertificateChain() TRUSTLIB_THROWS(TrustManagerException);

 private:
  bool valid;
  unsigned long long warnings;
  std::string* serialNumber;  // owned, or NULL
  std::list<std::string> certificateChain;
  std::list<std::string> commonNames;
  std::list<std::string> subjectAltNames;
};

#endif
