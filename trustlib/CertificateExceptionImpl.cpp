#include "trustlib/CertificateExceptionImpl.h"

#include <cstdlib>

#include "trustlib/CertificateUtilities.h"
#include "trustlib/util/HashEngine.h"

namespace {

bool sameDomain(const std::string* first, const std::string* second) {
  if (first == nullptr || second == nullptr) {
    return first == second;
  }
  return *first == *second;
}

bool sameChain(const std::list<Certificate*>* first, const std::list<Certificate*>* second) {
  if (first == nullptr || second == nullptr) {
    return first == second;
  }
  if (first->size() != second->size()) {
    return false;
  }
  auto other = second->begin();
  for (const Certificate* certificate : *first) {
    if (certificate == nullptr || !certificate->compare(*other)) {
      return false;
    }
    ++other;
  }
  return true;
}

}  // namespace

CertificateExceptionImpl::CertificateExceptionImpl(unsigned long long warnings,
                                                   const std::string* domain,
                                                   const std::list<Certificate*>* chain)
    TRUSTLIB_THROWS(TrustManagerException)
    : warnings(warnings), domain(nullptr) {
  try {
    CertificateUtilities::copyCertificateChain(chain, &this->chain, true);
    if (domain != nullptr) {
      this->domain = new std::string(*domain);
    }
  } catch (...) {
    // Only another Certificate's clone() can fail here; no destructor runs after it.
    CertificateUtilities::clearCertificateChain(&this->chain);
    throw;
  }
}

CertificateExceptionImpl::~CertificateExceptionImpl() {
  delete domain;
  CertificateUtilities::clearCertificateChain(&chain);
}

unsigned long long CertificateExceptionImpl::getWarnings() const
    TRUSTLIB_THROWS(TrustManagerException) {
  return warnings;
}

const std::string* CertificateExceptionImpl::getDomainName() const
    TRUSTLIB_THROWS(TrustManagerException) {
  return domain;
}

const std::list<Certificate*>* CertificateExceptionImpl::getCertificateChain() const
    TRUSTLIB_THROWS(TrustManagerException) {
  return &chain;
}

bool CertificateExceptionImpl::compare(const CertificateException* other) const
    TRUSTLIB_THROWS(TrustManagerException) {
  return other != nullptr && getWarnings() == other->getWarnings() &&
         sameDomain(getDomainName(), other->getDomainName()) &&
         sameChain(getCertificateChain(), other->getCertificateChain());
}

int CertificateExceptionImpl::hash(unsigned char** hash, unsigned int* hashLength) const
    TRUSTLIB_THROWS(TrustManagerException) {
  const auto length = static_cast<unsigned int>(HashEngine::digestLength);
  auto* buffer = static_cast<unsigned char*>(malloc(length));
  if (buffer == nullptr) {
    return -1;
  }
  const int result = digest(buffer);
  if (result != 0) {
    free(buffer);
    return result;
  }
  *hash = buffer;
  *hashLength = length;
  return 0;
}

CertificateException* CertificateExceptionImpl::clone() const
    TRUSTLIB_THROWS(TrustManagerException) {
  return new CertificateExceptionImpl(warnings, domain, &chain);
}

// Without separators by design: an empty domain and an absent one hash alike, and so do
// records that split the same bytes differently. Stores confirm with compare.
int CertificateExceptionImpl::digest(unsigned char* out) const {
  unsigned char littleEndian[8];
  for (unsigned int i = 0; i < sizeof(littleEndian); ++i) {
    littleEndian[i] = static_cast<unsigned char>(warnings >> (8 * i));
  }
  HashEngine engine;
  int result = engine.init();
  if (result == 0) {
    result = engine.update(littleEndian, sizeof(littleEndian));
  }
  if (result == 0 && domain != nullptr) {
    result = engine.update(reinterpret_cast<const unsigned char*>(domain->data()),
                           static_cast<unsigned int>(domain->length()));
  }
  for (auto entry = chain.begin(); result == 0 && entry != chain.end(); ++entry) {
    if (*entry != nullptr) {
      result = engine.update((*entry)->getDer(), (*entry)->getDerLength());
    }
  }
  return result == 0 ? engine.getHash(out, nullptr) : result;
}
