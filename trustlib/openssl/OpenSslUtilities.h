#ifndef TRUSTLIB_OPENSSL_OPEN_SSL_UTILITIES_H
#define TRUSTLIB_OPENSSL_OPEN_SSL_UTILITIES_H

#include <list>
#include <string>

#include "trustlib/Certificate.h"

// Chain building over OpenSSL. May run on any thread: every call has its own store.
class TRUSTLIB_EXPORT OpenSslUtilities {
 public:
  // Appends to `result` the chain that OpenSSL builds from the first certificate of `chain`,
  // with the whole of it as untrusted help and the anchors of one directory (PEM files named
  // by subject hash). The caller owns the new certificates.
  // This is a builder, not a verdict: an unknown root, an expired certificate or a bad
  // signature is no failure, and the chain is returned as far as it could be built.
  // Throws TrustManagerException, with `result` untouched, when the chain is empty, when a
  // certificate does not parse, or when OpenSSL cannot run. A NULL result takes nothing.
  static void buildTrustChain(const std::string* trustStoreDirectory,
                              const std::list<Certificate*>* chain, std::list<Certificate*>* result)
      TRUSTLIB_THROWS(TrustManagerException);
};

#endif
