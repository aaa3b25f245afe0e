#include "trustlib/CertificateImpl.h"

#include <cstdlib>
#include <cstring>

CertificateImpl::CertificateImpl(const unsigned char* der, unsigned int length)
    TRUSTLIB_THROWS(TrustManagerException) {
  derLength = der != nullptr ? length : 0;
  // An empty certificate has a block too: its pointer then compares like any other.
  this->der = static_cast<unsigned char*>(
      malloc(derLength));  // NOLINT(clang-analyzer-optin.portability.UnixAPI)
  if (derLength > 0) {
    memcpy(this->der, der, derLength);
  }
}

CertificateImpl::~CertificateImpl() {
  free(der);
}

const unsigned char* CertificateImpl::getDer() const TRUSTLIB_THROWS(TrustManagerException) {
  return der;
}

unsigned int CertificateImpl::getDerLength() const TRUSTLIB_THROWS(TrustManagerException) {
  return derLength;
}

bool CertificateImpl::compare(const Certificate* other) const
    TRUSTLIB_THROWS(TrustManagerException) {
  if (other == nullptr) {
    return false;
  }
  const unsigned char* otherDer = other->getDer();
  if (derLength != other->getDerLength()) {
    return false;
  }
  if (der == nullptr || otherDer == nullptr) {
    return der == otherDer;
  }
  return memcmp(der, otherDer, derLength) == 0;
}

Certificate* CertificateImpl::clone() const TRUSTLIB_THROWS(TrustManagerException) {
  return new CertificateImpl(der, derLength);
}
