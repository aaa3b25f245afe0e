#ifndef TRUSTLIB_CERTIFICATE_UTILITIES_H
#define TRUSTLIB_CERTIFICATE_UTILITIES_H

#include <list>
#include <string>

#include "trustlib/Certificate.h"

// Static helpers over certificates: freeing, copying and loading chains, matching
// domains against certificate names, and the normal form of serial numbers.
// All are pure functions of their arguments and may run on any thread.
class TRUSTLIB_EXPORT CertificateUtilities {
 public:
  // Deletes every certificate of the chain, in order, and empties the list. NULL does nothing.
  static void clearCertificateChain(std::list<Certificate*>* chain)
      TRUSTLIB_THROWS(TrustManagerException);

  // Appends the certificates of `source` to `destination`: clones with `deep`, else the
  // same pointers (then only one of the lists may be cleared). A NULL list does nothing.
  static void copyCertificateChain(const std::list<Certificate*>* source,
                                   std::list<Certificate*>* destination, bool deep)
      TRUSTLIB_THROWS(TrustManagerException);

  // Reads one certificate per file, whose bytes are taken as DER as they are, and appends
  // them to `chain`. The caller owns the new certificates.
  // Throws TrustManagerException on a NULL list and on a file that cannot be read; the
  // entries appended by the failed call are then dangling: do not clear that list.
  static void loadCertificateChain(const std::list<std::string>* paths,
                                   std::list<Certificate*>* chain)
      TRUSTLIB_THROWS(TrustManagerException);

  // True when the domain, or one of the domains, is covered by a name of the certificate.
  // Its "DNS:" alternative names count; only where there is none do the common names. Case
  // is ignored, and a "*" at the end of a name's first label stands for the rest of one
  // label. NULL and empty lists match nothing. Takes no memory.
  static bool certificateDomainMatches(const std::string* domain,
                                       const std::list<std::string>* commonNames,
                                       const std::list<std::string>* subjectAltNames)
      TRUSTLIB_THROWS(TrustManagerException);
  static bool certificateDomainMatches(const std::list<std::string>* domains,
                                       const std::list<std::string>* commonNames,
                                       const std::list<std::string>* subjectAltNames)
      TRUSTLIB_THROWS(TrustManagerException);

  // Appends the serial number without white space to `normalized` and lower-cases the
  // whole of it. Nothing else is removed. A NULL output does nothing; the input must not
  // be NULL.
  static void normalizeSerialNumber(const char* serialNumber, std::string* normalized)
      TRUSTLIB_THROWS(TrustManagerException);
};

#endif
