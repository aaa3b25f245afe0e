#include "trustlib/DefaultCertificateBlacklist.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "trustlib/CertificateUtilities.h"
#include "trustlib/util/MutexLocker.h"

namespace {

struct BlacklistEntry {
  const char* serial;
  const char* domain;
};

const BlacklistEntry builtInTable[] = {
#include "BlacklistTable.inc"  // made by the build from trustlib/data/blacklist.csv
    {nullptr, nullptr}};

}  // namespace

DefaultCertificateBlacklist* DefaultCertificateBlacklist::singleton = nullptr;
pthread_mutex_t DefaultCertificateBlacklist::singletonMutex = PTHREAD_MUTEX_INITIALIZER;

std::size_t StringHasher::operator()(const std::string& text) const
    TRUSTLIB_THROWS(TrustManagerException) {
  std::uint32_t hash = 0;
  for (std::string::size_type i = text.length(); i > 0; --i) {
    const auto byte = static_cast<signed char>(text[i - 1]);
    hash = hash * 31U + static_cast<std::uint32_t>(static_cast<std::int32_t>(byte));
  }
  return hash;
}

bool StringHasher::operator()(const std::string& first, const std::string& second) const
    TRUSTLIB_THROWS(TrustManagerException) {
  return first < second;
}

DefaultCertificateBlacklist* DefaultCertificateBlacklist::getInstance()
    TRUSTLIB_THROWS(TrustManagerException, std::bad_alloc) {
  MutexLocker locker(&singletonMutex);
  locker.lock();
  if (singleton == nullptr) {
    singleton = new DefaultCertificateBlacklist();
  }
  return singleton;
}

DefaultCertificateBlacklist::DefaultCertificateBlacklist()
    TRUSTLIB_THROWS(TrustManagerException, std::bad_alloc) {
  for (const BlacklistEntry* entry = builtInTable; entry->serial != nullptr; ++entry) {
    blacklist.insert(std::make_pair(std::string(entry->serial), std::string(entry->domain)));
  }
  // Last, since nothing would undo it if the map could not be filled.
  pthread_mutex_init(&mutex, nullptr);
}

DefaultCertificateBlacklist::~DefaultCertificateBlacklist() {
  pthread_mutex_destroy(&mutex);
}

int DefaultCertificateBlacklist::isCertificateBlacklisted(
    const std::string* serialNumber, const std::list<std::string>* commonNames,
    const std::list<std::string>* subjectAltNames) TRUSTLIB_THROWS(TrustManagerException) {
  const int notListed = 0;
  const int revoked = 2;
  const std::string* domain = getCertificateBlacklistDomain(serialNumber);
  if (domain == nullptr) {
    return notListed;
  }
  if (domain->empty() ||
      CertificateUtilities::certificateDomainMatches(domain, commonNames, subjectAltNames)) {
    return revoked;
  }
  return notListed;
}

const std::string* DefaultCertificateBlacklist::getCertificateBlacklistDomain(
    const std::string* serialNumber) TRUSTLIB_THROWS(TrustManagerException) {
  if (serialNumber == nullptr || serialNumber->empty()) {
    return nullptr;
  }
  MutexLocker locker(&mutex);
  locker.lock();
  const auto found = blacklist.find(*serialNumber);
  return found != blacklist.end() ? &found->second : nullptr;
}
