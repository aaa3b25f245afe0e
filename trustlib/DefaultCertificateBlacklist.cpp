#include "trustlib/DefaultCertificateBlacklist.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "trustlib/CertificateUtilities.h"
#include "trustlib/util/MutexLocker.h"
#include "trustlib/util/Utilities.h"

namespace {

struct Row {
  const char* serial;  // lower-case hexadecimal
  const char* domain;
};

// For the compiler alone, which packs it. As data of the library, every pointer here would have
// to be written by the dynamic linker at each start, into memory that no other process shares.
constexpr Row rows[] = {
#include "BlacklistTable.inc"  // made by the build from trustlib/data/blacklist.csv
};
constexpr std::size_t rowCount = sizeof(rows) / sizeof(rows[0]);

struct Serial {
  unsigned char length;
  unsigned char bytes[16];  // a longer one does not compile
};

struct Serials {
  Serial row[rowCount];
};

constexpr unsigned int valueOf(char hexDigit) {
  return static_cast<unsigned int>(hexDigit <= '9' ? hexDigit - '0' : hexDigit - 'a' + 10);
}

constexpr Serials packSerials() {
  Serials packed{};
  for (std::size_t i = 0; i < rowCount; ++i) {
    Serial& serial = packed.row[i];
    for (const char* digits = rows[i].serial; *digits != '\0'; digits += 2) {
      serial.bytes[serial.length++] =
          static_cast<unsigned char>(valueOf(digits[0]) * 16 + valueOf(digits[1]));
    }
  }
  return packed;
}

constexpr Serials builtInSerials = packSerials();

constexpr std::size_t countDomains() {
  std::size_t count = 0;
  while (rows[count].domain[0] != '\0') {
    ++count;
  }
  return count;
}

constexpr std::size_t domainCount = countDomains();

constexpr bool isEachRowAfterWithoutDomain() {
  for (std::size_t i = domainCount; i < rowCount; ++i) {
    if (rows[i].domain[0] != '\0') {
      return false;
    }
  }
  return true;
}

static_assert(isEachRowAfterWithoutDomain(), "rows with a domain must come first");

struct Domains {
  const char* row[domainCount];
};

constexpr Domains collectDomains() {
  Domains domains{};
  for (std::size_t i = 0; i < domainCount; ++i) {
    domains.row[i] = rows[i].domain;
  }
  return domains;
}

constexpr Domains builtInDomains = collectDomains();

std::string textOf(const Serial& serial) {
  std::string text;
  // Memory may run out here, but not in the conversion, which would end the process.
  text.reserve(sizeof(serial.bytes) * 2);
  auto* bytes = const_cast<unsigned char*>(serial.bytes);  // binaryToHex only reads them
  Utilities::binaryToHex(bytes, serial.length, &text);
  return text;
}

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
  blacklist.reserve(rowCount);
  for (std::size_t i = 0; i < rowCount; ++i) {
    const char* domain = i < domainCount ? builtInDomains.row[i] : "";
    blacklist.insert(std::make_pair(textOf(builtInSerials.row[i]), std::string(domain)));
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
