#ifndef TRUSTLIB_CERTIFICATE_BLACKLIST_H
#define TRUSTLIB_CERTIFICATE_BLACKLIST_H

#include <list>
#include <string>

#include "trustlib/Export.h"
#include "trustlib/Throws.h"
#include "trustlib/util/TrustManagerException.h"

// Certificates that must never be trusted, known by their serial numbers.
class TRUSTLIB_EXPORT CertificateBlacklist {
 public:
  virtual ~CertificateBlacklist() {}

  // Says whether the certificate with this serial number (lower-case hexadecimal, no
  // separators) and these names is listed: 0 it is not; 1 it lacks a trusted root, which
  // replaces every other warning of the verdict; any other value, usually 2, it is revoked.
  virtual int isCertificateBlacklisted(const std::string* serialNumber,
                                       const std::list<std::string>* commonNames,
                                       const std::list<std::string>* subjectAltNames)
      TRUSTLIB_THROWS(TrustManagerException) = 0;
};

#endif
