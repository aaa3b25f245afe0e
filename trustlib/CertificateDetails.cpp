#include "trustlib/CertificateDetails.h"

CertificateDetails::CertificateDetails(const char* serialNumber)
    TRUSTLIB_THROWS(TrustManagerException)
    : valid(false),
      warnings(0),
      serialNumber(serialNumber != nullptr ? new std::string(serialNumber) : nullptr) {}

CertificateDetails::~CertificateDetails() {
  delete serialNumber;
}

bool CertificateDetails::isValid() TRUSTLIB_THROWS(TrustManagerException) {
  return valid;
}

void CertificateDetails::setValid(bool valid) TRUSTLIB_THROWS(TrustManagerException) {
  this->valid = valid;
}

unsigned long long CertificateDetails::getWarnings() TRUSTLIB_THROWS(TrustManagerException) {
  return warnings;
}

void CertificateDetails::addWarnings(unsigned long long flags)
    TRUSTLIB_THROWS(TrustManagerException) {
  warnings |= flags;
}

std::string* CertificateDetails::getSerialNumber() TRUSTLIB_THROWS(TrustManagerException) {
  return serialNumber;
}

std::list<std::string>* CertificateDetails::getCommonNames()
    TRUSTLIB_THROWS(TrustManagerException) {
  return &commonNames;
}

std::list<std::string>* CertificateDetails::getSubjectAltNames()
    TRUSTLIB_THROWS(TrustManagerException) {
  return &subjectAltNames;
}

std::list<std::string>* CertificateDetails::getCertificateChain()
    TRUSTLIB_THROWS(TrustManagerException) {
  return &certificateChain;
}
