#ifndef SERVICES_CERTMGR_TRUSTSTORES_H
#define SERVICES_CERTMGR_TRUSTSTORES_H

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "services/certmgr/PemFile.h"
#include "services/common/OpenSslOwners.h"

// The anchors and revocation lists that one verdict goes by. Never changes, so any
// number of threads may verify against it.
class TrustStore {
 public:
  // For verification; OpenSSL takes its own references.
  X509_STORE* get() const { return store_.get(); }
  // The anchor that is this very certificate, or NULL. It lives as long as the store,
  // and carries the trust settings of its file, which the argument may lack.
  X509* find(const X509* certificate) const;
  const std::vector<X509CrlPtr>& revocationLists() const { return crls_; }

 private:
  friend class TrustStores;
  // Adds certificates and lists, or the lists alone.
  void add(PemContent content, bool listsOnly);

  X509StorePtr store_{X509_STORE_new()};
  std::map<std::string, X509Ptr> anchors_;  // by fingerprint
  std::vector<X509CrlPtr> crls_;
};

// Where anchors and lists come from. Hashed directories are read as OpenSSL names
// their files: eight hexadecimal digits, then ".N" or ".rN".
struct TrustSources {
  std::string root = "/var/certmgr";
  std::vector<std::string> hashedDirectories{};  // joined with every store
  std::vector<std::string> plainDirectories{};   // every file in them, whatever its name
  std::vector<std::string> files{};              // PEM, any number of certificates and lists
  std::vector<std::string> revocationFiles{};    // PEM; certificates in them are no anchors
};

// Throws std::runtime_error when a file that was named on the command line cannot be read
// whole, or holds nothing of its kind: whoever named it must not be left to trust in it.
void requireUsable(const TrustSources& sources);

// The stores by application and class: ROOT/application/class in lower case, joined
// with the other sources. A store is kept until a file of it changes, appears or goes;
// a directory that is missing has no anchors. Safe from several threads.
class TrustStores {
 public:
  explicit TrustStores(TrustSources sources);

  // True for what may be an application or class: 1 to 64 bytes, neither control
  // bytes nor slashes, and not starting with a dot.
  static bool isStoreName(const std::string& name);

  // The store as its files stand now. Throws std::runtime_error for a name that
  // isStoreName() refuses.
  std::shared_ptr<const TrustStore> get(const std::string& application,
                                        const std::string& className);

  // Drops what is kept; stores that are in use stay whole.
  void forget();

 private:
  struct Kept {
    std::string state;
    std::shared_ptr<const TrustStore> store;
  };

  TrustSources sources_;
  std::mutex mutex_;
  std::map<std::string, Kept> kept_;  // by directory
};

#endif
