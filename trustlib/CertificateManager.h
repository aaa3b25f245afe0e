#ifndef TRUSTLIB_CERTIFICATE_MANAGER_H
#define TRUSTLIB_CERTIFICATE_MANAGER_H

#include <list>
#include <string>

#include "trustlib/CertificateDetails.h"

// The client of the certificate-manager service and of the dialog service. It holds no state:
// any number of threads may use one, or one each.
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

  // What displayCertificateVerificationDialog answers.
  enum DialogAnswer { acceptedOnce = 0, declined = 1, acceptedAlways = 2, unanswered = 3 };

  // Has the dialog service ask the user about the chain whose DER files are named, leaf first.
  // Waits for the answer at most `timeoutSeconds` whole seconds; negative waits without limit.
  // `domain` and `groupId` may be NULL. Nothing is escaped: a domain or path with a quote in it
  // makes a request that the service takes for something else, or refuses.
  // Returns a DialogAnswer; a time-out is one of them. Throws TrustManagerException when
  // `certificatePaths` is NULL, when the service cannot be reached, and when it answers with an
  // error or with something else than an answer.
  int displayCertificateVerificationDialog(const std::list<std::string>* certificatePaths,
                                           const std::string* domain, unsigned long long warnings,
                                           const std::string* groupId, int timeoutSeconds)
      TRUSTLIB_THROWS(TrustManagerException);

 private:
  static void createGetCertDetailsPpsRequest(const std::list<std::string>* certificatePaths,
                                             const std::string* trustStoreApplication,
                                             const std::string* trustStoreClass,
                                             std::string* request);
  static CertificateDetails* parseGetCertDetailsPpsResponse(char* response);
  static void createShowDialogPpsRequest(const std::list<std::string>* certificatePaths,
                                         const std::string* domain, unsigned long long warnings,
                                         const std::string* groupId, std::string* request);
  static int parseShowDialogPpsResponse(char* response);
};

#endif
