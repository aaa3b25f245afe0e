#ifndef TRUSTLIB_TRUST_MANAGER_H
#define TRUSTLIB_TRUST_MANAGER_H

#include <list>
#include <string>

#include "trustlib/Certificate.h"
#include "trustlib/CertificateBlacklist.h"
#include "trustlib/CertificateExceptionStore.h"
#include "trustlib/CertificateTrustInfo.h"
#include "trustlib/TrustDialog.h"
#include "trustlib/TrustEngine.h"

// The front door. verify() asks everything in one call; the other operations hand out its
// parts, for applications that put a verification together themselves.
//
// A manager holds no state: any number of threads may use one. What it hands out outlives it.
// The exception stores come from a factory that does not lock (CertificateExceptionStoreFactory):
// the first call for a store, verify() included, is for one thread to make.
class TRUSTLIB_EXPORT TrustManager : public Object {
 public:
  // A certificate of a copy of these DER bytes, which are not looked at. NULL makes an empty
  // one. The caller owns it.
  virtual Certificate* createX509Certificate(const unsigned char* der, unsigned int length)
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // The exception store over a directory, which is made where missing. Shared and never
  // deleted by the caller: an equal path gives the same store.
  virtual CertificateExceptionStore* getExceptionStore(const std::string* path)
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // The exception store of this user, likewise.
  virtual CertificateExceptionStore* getLocalExceptionStore()
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // The built-in blacklist: one for the process, never deleted.
  virtual CertificateBlacklist* getDefaultCertificateBlacklist()
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // An engine over a deep copy of the chain, leaf first. The caller owns it.
  virtual TrustEngine* createTrustEngine(const std::list<Certificate*>* chain)
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // A dialog about a verdict, whose decisions go into the store. The caller owns the dialog;
  // both arguments stay the caller's and must outlive it. The store may be NULL.
  virtual TrustDialog* createDefaultTrustDialog(CertificateTrustInfo* info,
                                                CertificateExceptionStore* store)
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // May this chain, leaf first, be trusted for this domain? Asks the user where it may not be
  // by itself, and remembers "always" in the user's own store; a revoked chain is refused
  // without asking. Blocks on the certificate-manager service, for more than eight hours where
  // that stays silent, and on the user without limit.
  // NULL for the domain checks no name. Both arguments stay the caller's.
  // Throws TrustManagerException when there can be no verdict or no question, for instance
  // because a service is not there, and its subtype PpsTimeoutException when the
  // certificate-manager service does not answer: never take that for a yes.
  virtual bool verify(std::string* domainName, std::list<Certificate*>* chain)
      TRUSTLIB_THROWS(TrustManagerException) = 0;
};

#endif
