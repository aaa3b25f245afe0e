#ifndef TRUSTLIB_DEFAULT_CERTIFICATE_BLACKLIST_H
#define TRUSTLIB_DEFAULT_CERTIFICATE_BLACKLIST_H

#include <pthread.h>

#include <cstddef>
#include <list>
#include <new>
#include <string>
#include <unordered_map>

#include "trustlib/CertificateBlacklist.h"

// Hash and order of the blacklist's keys, in one function object.
class TRUSTLIB_EXPORT StringHasher {
 public:
  // h = h * 31 + byte, modulo 2^32, from the last byte to the first, each byte taken as
  // signed whatever the platform's char is. Reverse and signed by design.
  std::size_t operator()(const std::string& text) const TRUSTLIB_THROWS(TrustManagerException);

  // True when `first` sorts before `second`, byte by byte.
  bool operator()(const std::string& first, const std::string& second) const
      TRUSTLIB_THROWS(TrustManagerException);
};

// Two keys are equal when neither sorts before the other.
template <class Hasher>
struct EqualByOrder {
  template <class Key>
  bool operator()(const Key& first, const Key& second) const {
    const Hasher sortsBefore{};
    return !sortsBefore(first, second) && !sortsBefore(second, first);
  }
};

template <class Key, class Value, class Hasher>
using hash_map = std::unordered_map<Key, Value, Hasher, EqualByOrder<Hasher>>;

// The built-in list. One instance serves the whole process; all operations may be called
// from any thread.
class TRUSTLIB_EXPORT DefaultCertificateBlacklist : public CertificateBlacklist {
 public:
  // The one instance, made on the first call and never deleted. When memory runs out while
  // it is made, std::bad_alloc reaches the caller and the next call tries again.
  static DefaultCertificateBlacklist* getInstance()
      TRUSTLIB_THROWS(TrustManagerException, std::bad_alloc);

  DefaultCertificateBlacklist() TRUSTLIB_THROWS(TrustManagerException, std::bad_alloc);
  ~DefaultCertificateBlacklist() override;

  DefaultCertificateBlacklist(const DefaultCertificateBlacklist&) = delete;
  DefaultCertificateBlacklist& operator=(const DefaultCertificateBlacklist&) = delete;

  // 2 when the serial number is listed for every domain, or for one that the certificate's
  // names cover; else 0. The serial number is looked up as it is: normalise it first.
  int isCertificateBlacklisted(const std::string* serialNumber,
                               const std::list<std::string>* commonNames,
                               const std::list<std::string>* subjectAltNames)
      TRUSTLIB_THROWS(TrustManagerException) override;

  // The domain listed with the serial number, empty when it is listed for all; NULL when it
  // is not listed, or NULL or empty itself. The text lives as long as the blacklist.
  const std::string* getCertificateBlacklistDomain(const std::string* serialNumber)
      TRUSTLIB_THROWS(TrustManagerException);

 private:
  pthread_mutex_t mutex;
  hash_map<std::string, std::string, StringHasher> blacklist;

  static DefaultCertificateBlacklist* singleton;
  static pthread_mutex_t singletonMutex;
};

#endif
