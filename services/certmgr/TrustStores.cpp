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
#include <openssl/pem.h>

#include "services/certmgr/CertificateFiles.h"

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

struct InfoStackFree {
  void operator()(STACK_OF(X509_INFO) * stack) const {
    sk_X509_INFO_pop_free(stack, X509_INFO_free);
  }
};

}  // namespace

X509* TrustStore::find(const X509* certificate) const {
  const auto found = anchors_.find(fingerprintOf(certificate));
  return found == anchors_.end() ? nullptr : found->second.get();
}

void TrustStore::add(const std::string& pem, bool listsOnly) {
  const BioPtr bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
  const std::unique_ptr<STACK_OF(X509_INFO), InfoStackFree> all(
      PEM_X509_INFO_read_bio(bio.get(), nullptr, nullptr, nullptr));
  for (int i = 0; all != nullptr && i < sk_X509_INFO_num(all.get()); ++i) {
    X509_INFO* info = sk_X509_INFO_value(all.get(), i);
    if (info->x509 != nullptr && !listsOnly) {
      const auto [anchor, isNew] =
          anchors_.emplace(fingerprintOf(info->x509), shareCertificate(info->x509));
      if (isNew) X509_STORE_add_cert(store_.get(), anchor->second.get());
    }
    // Lists stay outside the store: see Revocation.h.
    if (info->crl != nullptr) crls_.emplace_back(std::exchange(info->crl, nullptr));
  }
  ERR_clear_error();
}

TrustStores::TrustStores(TrustSources sources) : sources_(std::move(sources)) {}

bool TrustStores::isStoreName(const std::string& name) {
  if (name.empty() || name.size() > kMaxNameBytes || name.front() == '.') return false;
  return std::none_of(name.begin(), name.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f || byte == '/';
  });
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
      store->add(readPlainFile(file.path, kMaxStoreFileBytes), file.listsOnly);
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
