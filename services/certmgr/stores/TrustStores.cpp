#include "services/certmgr/stores/TrustStores.h"

#include <algorithm>
#include <stdexcept>
#include <utility>
#include <vector>

#include "services/certmgr/stores/PemFile.h"
#include "services/common/CertificateFiles.h"
#include "services/common/LowerCase.h"

namespace {

constexpr std::size_t kMaxKeptStores = 32;
constexpr std::size_t kMaxNameBytes = 64;
// Not every file system tells of changes: the files are looked at again after that long.
constexpr std::chrono::seconds kLongestTrust{10};

// Different for any two sets of stores of this process.
std::uint64_t nextVersion() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

struct Loaded {
  std::shared_ptr<TrustStore> store = std::make_shared<TrustStore>();
  std::vector<std::string> unread;  // files that could not be
};

Loaded load(const StoreFiles& found) {
  Loaded loaded;
  for (const StoreFiles::File& file : found.files) {
    try {
      PemContent content = readPem(readPlainFile(file.path, kMaxStoreFileBytes));
      for (Anchor& anchor : content.anchors) {
        if (!file.listsOnly) loaded.store->add(std::move(anchor));
      }
      for (RevocationListPtr& list : content.revocationLists) loaded.store->add(std::move(list));
    } catch (const std::runtime_error&) {
      // An unreadable file trusts nobody, and must not stop the others.
      loaded.unread.push_back(file.path);
    }
  }
  return loaded;
}

void requireWhole(const std::string& path, const PemContent& content) {
  if (content.damaged) {
    throw std::runtime_error("the file " + path + " is damaged: a PEM block in it cannot be read");
  }
}

}  // namespace

void requireUsable(const TrustSources& sources) {
  for (const std::string& path : sources.files) {
    const PemContent content = readPem(readPlainFile(path, kMaxStoreFileBytes));
    requireWhole(path, content);
    if (content.anchors.empty()) {
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

TrustStores::TrustStores(TrustSources sources)
    : sources_(std::move(sources)), version_(nextVersion()) {}

bool TrustStores::isStoreName(const std::string& name) {
  if (name.empty() || name.size() > kMaxNameBytes || name.front() == '.') return false;
  return std::none_of(name.begin(), name.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f || byte == '/';
  });
}

std::string TrustStores::directoryOf(const std::string& application,
                                     const std::string& className) const {
  if (!isStoreName(application)) throw std::runtime_error("\"application\" names no trust store");
  if (!isStoreName(className)) throw std::runtime_error("\"class\" names no trust store");
  return sources_.root + "/" + lowerCase(application + "/" + className);
}

// Each thread holds on to the set that it used last, and needs the lock only for another one.
std::shared_ptr<const TrustStores::Stores> TrustStores::stores() {
  thread_local std::uint64_t knownVersion = 0;
  thread_local std::shared_ptr<const Stores> known;
  if (knownVersion != version_) {
    const std::lock_guard<std::mutex> lock(mutex_);
    known = stores_;
    knownVersion = version_;
  }
  return known;
}

// Called with the lock held.
void TrustStores::replace(Stores stores) {
  stores_ = std::make_shared<const Stores>(std::move(stores));
  version_ = nextVersion();
}

bool TrustStores::isCurrent(const Kept& kept, std::uint64_t changes) const {
  return kept.watched && kept.changes == changes && Clock::now() - kept.checked < kLongestTrust;
}

std::shared_ptr<const TrustStores::Kept> TrustStores::look(const std::string& directory,
                                                           std::uint64_t changes) {
  auto kept = std::make_shared<Kept>();
  kept->changes = changes;
  kept->checked = Clock::now();
  kept->watched = true;
  for (const std::string& place : findStoreFiles(sources_, directory).places) {
    kept->watched = watch_.watch(place) && kept->watched;
  }
  // Only now, since what changed before the watch began is not told.
  StoreFiles found = findStoreFiles(sources_, directory);
  kept->state = std::move(found.state);
  kept->settled = found.settled;
  const auto same = std::find_if(stores_->begin(), stores_->end(), [&](const auto& entry) {
    return entry.second->settled && entry.second->state == kept->state;
  });
  kept->isShared = same != stores_->end();
  if (kept->isShared && same->second->unread.empty()) {
    kept->store = same->second->store;
    return kept;
  }
  // What kept a file from being read (no descriptor was left, say) may be over.
  Loaded loaded = load(found);
  ++loads_;
  kept->unread = std::move(loaded.unread);
  const bool isUnchanged = kept->isShared && same->second->unread == kept->unread;
  kept->store = isUnchanged ? same->second->store : std::move(loaded.store);
  return kept;
}

std::shared_ptr<const TrustStore> TrustStores::get(const std::string& application,
                                                   const std::string& className) {
  const std::string directory = directoryOf(application, className);
  const std::uint64_t changes = watch_.changes();
  {
    const std::shared_ptr<const Stores> known = stores();
    const auto found = known->find(directory);
    if (found != known->end() && isCurrent(*found->second, changes)) return found->second->store;
  }
  // One thread looks, and the others wait for what it finds.
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = stores_->find(directory);
  const std::shared_ptr<const Kept> before = found == stores_->end() ? nullptr : found->second;
  if (before != nullptr && isCurrent(*before, changes)) return before->store;
  const std::shared_ptr<const Kept> kept = look(directory, changes);
  const bool hasRoom = before != nullptr || stores_->size() < kMaxKeptStores;
  // A client may name any number of stores, and must not push out others by that.
  if (!hasRoom && kept->isShared) return kept->store;
  Stores stores = hasRoom ? *stores_ : Stores();
  stores[directory] = kept;
  replace(std::move(stores));
  return kept->store;
}

void TrustStores::forget() {
  const std::lock_guard<std::mutex> lock(mutex_);
  replace({});
}
