#ifndef SERVICES_CERTMGR_STORES_TRUSTSTORES_H
#define SERVICES_CERTMGR_STORES_TRUSTSTORES_H

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "services/certmgr/path/TrustStore.h"
#include "services/certmgr/stores/ChangeWatch.h"
#include "services/certmgr/stores/StoreFiles.h"

// Throws std::runtime_error when a file that was named on the command line cannot be read
// whole, or holds nothing of its kind: whoever named it must not be left to trust in it.
void requireUsable(const TrustSources& sources);

// The stores by application and class: ROOT/application/class in lower case, joined
// with the other sources. A store is loaded once and replaced as a whole when a file of it
// changes, appears or goes; a directory that is missing has no anchors, and all such stores are
// one. A file that could not be read is tried again. Safe from several
// threads, which take no lock as long as nothing changes.
class TrustStores {
 public:
  explicit TrustStores(TrustSources sources);

  // True for what may be an application or class: 1 to 64 bytes, neither control
  // bytes nor slashes, and not starting with a dot.
  static bool isStoreName(const std::string& name);

  // Where the files of a store are. Throws std::runtime_error for a name that isStoreName()
  // refuses.
  std::string directoryOf(const std::string& application, const std::string& className) const;

  // The store as its files stand now. Throws std::runtime_error for a name that
  // isStoreName() refuses.
  std::shared_ptr<const TrustStore> get(const std::string& application,
                                        const std::string& className);

  // Loads every store anew when it is next asked for.
  void forget();

  // How often a store was loaded.
  std::uint64_t loads() const { return loads_; }

 private:
  using Clock = std::chrono::steady_clock;
  struct Kept {
    std::shared_ptr<const TrustStore> store;
    std::string state;
    std::vector<std::string> unread;  // files that could not be read
    bool settled = false;
    bool isShared = false;      // has the very files of another one that was kept
    bool watched = false;       // every place of it
    std::uint64_t changes = 0;  // seen when its files were last looked at
    Clock::time_point checked;  // when they were
  };
  using Stores = std::map<std::string, std::shared_ptr<const Kept>>;  // by directory

  std::shared_ptr<const Stores> stores();
  bool isCurrent(const Kept& kept, std::uint64_t changes) const;
  std::shared_ptr<const Kept> look(const std::string& directory, std::uint64_t changes);
  void replace(Stores stores);

  const TrustSources sources_;
  ChangeWatch watch_;
  std::mutex mutex_;  // of stores_, which is replaced and never changed
  std::shared_ptr<const Stores> stores_ = std::make_shared<const Stores>();
  std::atomic<std::uint64_t> version_;  // of stores_
  std::atomic<std::uint64_t> loads_{0};
};

#endif
