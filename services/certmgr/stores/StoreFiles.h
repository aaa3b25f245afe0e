#ifndef SERVICES_CERTMGR_STORES_STOREFILES_H
#define SERVICES_CERTMGR_STORES_STOREFILES_H

#include <cstddef>
#include <string>
#include <vector>

// Where anchors and lists come from. Hashed directories are read as OpenSSL names
// their files: eight hexadecimal digits, then ".N" or ".rN".
struct TrustSources {
  std::string root = "/var/certmgr";
  std::vector<std::string> hashedDirectories{};  // joined with every store
  std::vector<std::string> plainDirectories{};   // every file in them, whatever its name
  std::vector<std::string> files{};              // PEM, any number of certificates and lists
  std::vector<std::string> revocationFiles{};    // PEM; certificates in them are no anchors
};

// The longest file that is read: revocation lists grow large.
constexpr std::size_t kMaxStoreFileBytes = 16 * 1024 * 1024;

// Whether OpenSSL would look at a file of that name in a hashed directory.
bool isHashedName(const std::string& name);

// The files of one store as they are now.
struct StoreFiles {
  struct File {
    std::string path;
    bool listsOnly = false;
  };
  std::vector<File> files;
  std::string state;    // changes whenever a file does
  bool settled = true;  // false when a file changed too lately to be told from its next version
  // Where a change can come from: the directories, and those that links in them lead to.
  std::vector<std::string> places;
};

// `directory` is the store's own, below the root. What is missing has no files.
StoreFiles findStoreFiles(const TrustSources& sources, const std::string& directory);

#endif
