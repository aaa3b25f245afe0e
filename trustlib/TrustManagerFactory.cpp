#include "trustlib/TrustManagerFactory.h"

#include "trustlib/DefaultTrustManager.h"

TrustManager* TrustManagerFactory::createTrustManager() TRUSTLIB_THROWS(TrustManagerException) {
  return new DefaultTrustManager();
}
