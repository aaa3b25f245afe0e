#ifndef TRUSTLIB_TRUST_MANAGER_FACTORY_H
#define TRUSTLIB_TRUST_MANAGER_FACTORY_H

#include "trustlib/TrustManager.h"

// Where applications start.
class TRUSTLIB_EXPORT TrustManagerFactory {
 public:
  TrustManagerFactory() = delete;

  // A new trust manager, which the caller owns. May run on any thread.
  static TrustManager* createTrustManager() TRUSTLIB_THROWS(TrustManagerException);
};

#endif
