#include "trustlib/openssl/OpenSslUtilities.h"

#include <openssl/err.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include "trustlib/CertificateImpl.h"
#include "trustlib/CertificateUtilities.h"
#include "trustlib/openssl/X509StoreContext.h"
#include "trustlib/util/ObjectLifecycleManager.h"

namespace {

// Keeps the calling thread's error queue as it was: what this builder meets is none of the
// application's business, and would turn its next SSL_get_error() into a failure.
class ErrorQueueGuard {
 public:
  ErrorQueueGuard() { ERR_set_mark(); }
  ~ErrorQueueGuard() { ERR_pop_to_mark(); }
  ErrorQueueGuard(const ErrorQueueGuard&) = delete;
  ErrorQueueGuard& operator=(const ErrorQueueGuard&) = delete;
};

void parseCertificates(const std::list<Certificate*>& chain, X509Stack* stack) {
  for (const Certificate* certificate : chain) {
    const unsigned char* cursor = certificate->getDer();
    X509* parsed = d2i_X509(nullptr, &cursor, static_cast<long>(certificate->getDerLength()));
    if (parsed == nullptr) {
      throw TrustManagerException("OpenSslUtilities: failed to parse certificate");
    }
    const int size = stack->size();
    stack->push(parsed);
    if (stack->size() == size) {
      // Going on without it would judge the next certificate in place of this one.
      throw TrustManagerException("OpenSslUtilities: failed to allocate %s", "STACK_OF(X509)*");
    }
  }
}

// Only a verifier that could not run is a failure; a chain that does not verify is not.
void runVerifier(X509StoreContext* context) {
  if (context->verify() >= 0) {
    return;
  }
  const char* reason = nullptr;
  context->getError(nullptr, &reason);
  std::string errorText;
  if (reason != nullptr) {
    errorText.append(" - ").append(reason);
  }
  throw TrustManagerException("OpenSslUtilities: failed to verify trust chain %s",
                              errorText.c_str());
}

void encodeCertificates(X509Stack* chain, std::list<Certificate*>* result) {
  ObjectLifecycleManager guard;
  for (int i = 0; i < chain->size(); ++i) {
    unsigned char* der = nullptr;
    const int length = i2d_X509(chain->get(i), &der);
    guard.addBuffer(der);  // free() fits: OpenSSL allocates by malloc unless told otherwise
    Certificate* certificate = new CertificateImpl(der, static_cast<unsigned int>(length));
    guard.addReturnObject(certificate);
    result->push_back(certificate);
  }
  guard.successfulReturn();
}

}  // namespace

void OpenSslUtilities::buildTrustChain(const std::string* trustStoreDirectory,
                                       const std::list<Certificate*>* chain,
                                       std::list<Certificate*>* result)
    TRUSTLIB_THROWS(TrustManagerException) {
  if (chain == nullptr || chain->empty()) {
    throw TrustManagerException("OpenSslUtilities: empty certificate chain");
  }
  const ErrorQueueGuard errorQueue;
  ObjectLifecycleManager guard;
  std::list<Certificate*> built;
  {
    X509Stack input;
    parseCertificates(*chain, &input);

    X509Store store;
    store.setFlags(0);
    store.addLookupDirectory(trustStoreDirectory->c_str(), X509_FILETYPE_PEM);

    X509StoreContext context;
    context.init(&store, input.get(0), &input);
    runVerifier(&context);

    X509Stack* builtStack = context.getCertificateChain();
    guard.addObject(builtStack);
    encodeCertificates(builtStack, &built);
    for (Certificate* certificate : built) {
      guard.addReturnObject(certificate);
    }
  }
  if (result == nullptr) {
    return;  // the guard frees what nobody takes
  }
  CertificateUtilities::copyCertificateChain(&built, result, false);
  guard.successfulReturn();
}
