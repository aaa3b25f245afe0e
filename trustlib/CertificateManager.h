#ifndef TRUSTLIB_CERTIFICATE_MANAGER_H
#define TRUSTLIB_CERTIFICATE_MANAGER_H

#include <list>
#include <string>

#include "trustlib/CertificateDetails.h"

// The client of the certificate-manager service. It holds no state: any number of threads
// may use one, or one each.
class TRUSTLIB_EXPORT CertificateManager {
 public:
  CertificateManager() TRUSTLIB_THROWS(TrustManagerException);
  virtual ~CertificateManager();

  // Asks the service about the chain whose DER files are named, leaf first, judged against
  // the trust store of the given application and class. Waits for the answer at most
  // `timeoutSeconds` whole seconds; negative waits without limit.
  // Returns the details, which the caller owns. Throws TrustManagerException when an argument
  // is NULL or the list empty (before anything is sent), when the service cannot be reached,
  // or when it answers with an error or with something else than details; its subtype
  // PpsTimeoutException when it does not answer in time.
  CertificateDetails* verifyCertificateTrust(const std::list<std::string>* certificatePaths,
                                             const std::string* trustStoreApplication,
                                             const std::string* trustStoreClass, int timeoutSeconds)
      TRUSTLIB_THROWS(TrustManagerException);

 private:
  static void createGetCertDetailsPpsRequest(const std::list<std::string>* certificatePaths,
                                             const std::string* trustStoreApplication,
                                             const std::string* trustStoreClass,
                                             std::string* request);
  static CertificateDetails* parseGetCertDetailsPpsResponse(char* response);
};

#endif
