#include "services/certmgr/TrustStores.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <openssl/err.h>

#include "services/common/CertificateFiles.h"

namespace {

constexpr std::size_t kMaxStoreFileBytes = 16 * 1024 * 1024;  // revocation lists grow large
constexpr std::size_t kMaxKeptStores = 32;
constexpr std::size_t kMaxNameBytes = 64;

struct SourceFile {
  std::string path;
  bool listsOnly = false;
};

struct SourceFiles {
  std::vector<SourceFile> found;
  std::string state;    // changes whenever a file does
  bool settled = true;  // false when a file changed too lately to be told from its next version
};

std::string toLower(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

bool isDecimal(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool isHashedName(const std::string& name) {
  constexpr std::size_t kHash = 8;
  const std::string_view text = name;
  if (text.size() < kHash + 2 || text[kHash] != '.') return false;
  if (text.substr(0, kHash).find_first_not_of("0123456789abcdef") != std::string_view::npos) {
    return false;
  }
  const std::string_view suffix = text.substr(kHash + 1);
  return isDecimal(suffix.front() == 'r' ? suffix.substr(1) : suffix);
}

void note(SourceFiles& files, const std::string& path, bool listsOnly = false) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return;
  // File times advance in steps: what changed within the last seconds may change again
  // and look the same.
  constexpr std::int64_t kStepSeconds = 2;
  if (static_cast<std::int64_t>(status.st_ctim.tv_sec) + kStepSeconds >
      static_cast<std::int64_t>(std::time(nullptr))) {
    files.settled = false;
  }
  files.found.push_back({path, listsOnly});
  for (const std::int64_t part :
       {static_cast<std::int64_t>(status.st_dev), static_cast<std::int64_t>(status.st_ino),
        static_cast<std::int64_t>(status.st_size), static_cast<std::int64_t>(status.st_mtim.tv_sec),
        static_cast<std::int64_t>(status.st_mtim.tv_nsec),
        static_cast<std::int64_t>(status.st_ctim.tv_sec),
        static_cast<std::int64_t>(status.st_ctim.tv_nsec)}) {
    files.state.append(std::to_string(part)).append(":");
  }
  files.state.append(path).push_back('\0');
}

void noteDirectory(SourceFiles& files, const std::string& directory, bool hashedNamesOnly) {
  std::vector<std::string> names;
  std::error_code error;
  std::filesystem::directory_iterator entry(directory, error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    names.push_back(entry->path().filename().string());
  }
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) {
    if (hashedNamesOnly && !isHashedName(name)) continue;
    std::string path = directory;
    note(files, path.append("/").append(name));
  }
}

SourceFiles findFiles(const TrustSources& sources, const std::string& directory) {
  SourceFiles files;
  noteDirectory(files, directory, true);
  for (const auto& joined : sources.hashedDirectories) noteDirectory(files, joined, true);
  for (const auto& joined : sources.plainDirectories) noteDirectory(files, joined, false);
  for (const auto& file : sources.files) note(files, file);
  for (const auto& file : sources.revocationFiles) note(files, file, true);
  return files;
}

void requireWhole(const std::string& path, const PemContent& content) {
  if (content.damaged) {
    throw std::runtime_error("the file " + path + " is damaged: a PEM block in it cannot be read");
  }
}

}  // namespace

X509* TrustStore::find(const X509* certificate) const {
  const auto found = anchors_.find(fingerprintOf(certificate));
  return found == anchors_.end() ? nullptr : found->second.get();
}

void TrustStore::add(PemContent content, bool listsOnly) {
  for (X509Ptr& certificate : content.certificates) {
    if (listsOnly) break;
    const auto [anchor, isNew] =
        anchors_.emplace(fingerprintOf(certificate.get()), std::move(certificate));
    if (isNew) X509_STORE_add_cert(store_.get(), anchor->second.get());
  }
  // Lists stay outside the store: see Revocation.h.
  for (X509CrlPtr& list : content.revocationLists) crls_.push_back(std::move(list));
  ERR_clear_error();
}

void requireUsable(const TrustSources& sources) {
  for (const std::string& path : sources.files) {
    const PemContent content = readPem(readPlainFile(path, kMaxStoreFileBytes));
    requireWhole(path, content);
    if (content.certificates.empty()) {
      throw std::runtime_error("the file " + path + " holds no certificate in PEM form");
    }
  }
  for (const std::string& path : sources.revocationFiles) {
    const PemContent content = readPem(readPlainFile(path, kMaxStoreFileBytes));
    requireWhole(path, content);
    if (content.revocationLists.empty()) {
      throw std::runtime_error("the file " + path + " holds no revocation list in PEM form");
    }
  }
}

TrustStores::TrustStores(TrustSources sources) : sources_(std::move(sources)) {}

bool TrustStores::isStoreName(const std::string& name) {
  if (name.empty() || name.size() > kMaxNameBytes || name.front() == '.') return false;
  return std::none_of(name.begin(), name.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f || byte == '/';
  });
}

void TrustStores::forget() {
  const std::lock_guard<std::mutex> lock(mutex_);
  kept_.clear();
}

std::shared_ptr<const TrustStore> TrustStores::get(const std::string& application,
                                                   const std::string& className) {
  if (!isStoreName(application)) throw std::runtime_error("\"application\" names no trust store");
  if (!isStoreName(className)) throw std::runtime_error("\"class\" names no trust store");
  const std::string directory = sources_.root + "/" + toLower(application + "/" + className);

  const SourceFiles files = findFiles(sources_, directory);
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto kept = kept_.find(directory);
    if (kept != kept_.end() && kept->second.state == files.state) return kept->second.store;
  }
  auto store = std::make_shared<TrustStore>();
  for (const SourceFile& file : files.found) {
    try {
      store->add(readPem(readPlainFile(file.path, kMaxStoreFileBytes)), file.listsOnly);
    } catch (const std::exception&) {
      continue;  // an unreadable file trusts nobody, and must not stop the others
    }
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  if (files.settled) {
    if (kept_.size() >= kMaxKeptStores) kept_.clear();  // a client may name any number
    kept_[directory] = Kept{files.state, store};
  } else {
    kept_.erase(directory);
  }
  return store;
}
