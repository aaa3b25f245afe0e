#include "services/certmgr/stores/StoreFiles.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <set>
#include <string_view>

#include "services/common/FileSystem.h"
#include "services/common/TimeText.h"

namespace {

bool isDecimal(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

class Scan {
 public:
  void addFile(const std::string& path, bool listsOnly) {
    places_.insert(parentOf(path));
    addWhatIsThere(path, listsOnly);
  }

  void addDirectory(const std::string& directory, bool hashedNamesOnly) {
    places_.insert(directory);
    places_.insert(parentOf(directory));
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
      addWhatIsThere(path.append("/").append(name), false);
    }
  }

  // The directories down to a store that may be missing, or be replaced as a whole.
  void watchDownTo(const std::string& directory, const std::string& root) {
    places_.insert(parentOf(root));
    for (std::filesystem::path at(directory); at.native().size() >= root.size();
         at = at.parent_path()) {
      places_.insert(at.string());
      if (!at.has_relative_path()) break;
    }
  }

  StoreFiles result() {
    files_.places.assign(places_.begin(), places_.end());
    return std::move(files_);
  }

 private:
  static std::string parentOf(const std::string& path) {
    const std::string parent = std::filesystem::path(path).parent_path().string();
    return parent.empty() ? "." : parent;
  }

  void addWhatIsThere(const std::string& path, bool listsOnly) {
    watchTargetOf(path);
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return;
    // File times advance in steps: what changed within the last seconds may change again
    // and look the same.
    constexpr std::int64_t kStepSeconds = 2;
    if (static_cast<std::int64_t>(status.st_ctim.tv_sec) + kStepSeconds > currentTime()) {
      files_.settled = false;
    }
    files_.files.push_back({path, listsOnly});
    for (const std::int64_t part :
         {static_cast<std::int64_t>(status.st_dev), static_cast<std::int64_t>(status.st_ino),
          static_cast<std::int64_t>(status.st_size),
          static_cast<std::int64_t>(status.st_mtim.tv_sec),
          static_cast<std::int64_t>(status.st_mtim.tv_nsec),
          static_cast<std::int64_t>(status.st_ctim.tv_sec),
          static_cast<std::int64_t>(status.st_ctim.tv_nsec)}) {
      files_.state.append(std::to_string(part)).append(":");
    }
    files_.state.append(path).push_back('\0');
  }

  // A file behind links changes in its own directory, and the links in theirs.
  void watchTargetOf(const std::string& path) {
    constexpr int kMostLinks = 40;
    std::filesystem::path at(path);
    for (int i = 0; i < kMostLinks; ++i) {
      const std::string target = linkTarget(at);
      if (target.empty()) break;
      at = (at.parent_path() / target).lexically_normal();
      places_.insert(parentOf(at.string()));
    }
  }

  StoreFiles files_;
  std::set<std::string> places_;
};

}  // namespace

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

StoreFiles findStoreFiles(const TrustSources& sources, const std::string& directory) {
  Scan scan;
  scan.watchDownTo(directory, sources.root);
  scan.addDirectory(directory, true);
  for (const auto& joined : sources.hashedDirectories) scan.addDirectory(joined, true);
  for (const auto& joined : sources.plainDirectories) scan.addDirectory(joined, false);
  for (const auto& file : sources.files) scan.addFile(file, false);
  for (const auto& file : sources.revocationFiles) scan.addFile(file, true);
  return scan.result();
}
