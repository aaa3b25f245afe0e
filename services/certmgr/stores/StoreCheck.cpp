#include "services/certmgr/stores/StoreCheck.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <exception>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/stores/PemFile.h"
#include "services/certmgr/stores/StoreFiles.h"
#include "services/certmgr/stores/StoreItem.h"
#include "services/common/CertificateFiles.h"
#include "services/common/FileSystem.h"
#include "services/common/PrintableText.h"

namespace {

namespace fs = std::filesystem;

constexpr mode_t kWritableByOthers = S_IWGRP | S_IWOTH;

// "1a2b3c4d.0" and "1a2b3c4d.r0".
struct HashedName {
  std::string hash;
  bool isList = false;
  std::uint32_t number = 0;

  std::string text() const { return textOf(number); }
  std::string textOf(std::uint32_t other) const {
    return hash + (isList ? ".r" : ".") + std::to_string(other);
  }

  static std::optional<HashedName> parse(std::string_view name) {
    constexpr std::size_t kHash = 8;
    if (!isHashedName(std::string(name))) return {};
    HashedName hashed;
    hashed.hash = name.substr(0, kHash);
    name.remove_prefix(kHash + 1);
    if (name.front() == 'r') {
      hashed.isList = true;
      name.remove_prefix(1);
    }
    const char* end = name.data() + name.size();
    const auto result = std::from_chars(name.data(), end, hashed.number);
    if (result.ec != std::errc() || result.ptr != end) return {};
    return hashed;
  }
};

bool isDerCertificate(const std::string& bytes) {
  try {
    return ParsedCertificate::parse(bytes) != nullptr;
  } catch (const DerError&) {
    return false;
  }
}

// One name of the directory, and what stands behind it.
struct Entry {
  StoreFile file;
  std::string path;
  std::optional<HashedName> hashed;
  bool isLinkInside = false;  // to another name of the directory, where its content is told
  std::vector<StoreItem> items;
};

class Check {
 public:
  Check(const std::string& directory, std::int64_t now) : directory_(directory), now_(now) {
    report_.directory = printableText(directory, 400);
    report_.now = now;
  }

  StoreReport run() {
    readDirectory();
    for (Entry& entry : entries_) readEntry(entry);
    for (Entry& entry : entries_) noteInUse(entry);
    report_.certificates = anchors_.size();
    report_.lists = inUse_[true].size();
    checkNumbering();
    for (Entry& entry : entries_) {
      tellContent(entry);
      if (entry.hashed) {
        checkHashedName(entry);
      } else {
        checkHashLinks(entry);
      }
      report_.files.push_back(std::move(entry.file));
    }
    return std::move(report_);
  }

 private:
  std::string rehash() const { return "run openssl rehash " + report_.directory; }

  void readDirectory() {
    struct stat status = {};
    std::error_code error;
    fs::directory_iterator at(directory_, error);
    std::vector<std::string> names;
    for (; !error && at != fs::directory_iterator(); at.increment(error)) {
      names.push_back(at->path().filename().string());
    }
    if (error || ::stat(directory_.c_str(), &status) != 0) {
      throw std::runtime_error("cannot read the directory " + report_.directory + ": " +
                               (error ? error.message() : std::generic_category().message(errno)));
    }
    if ((status.st_mode & kWritableByOthers) != 0) {
      report_.problems.push_back(
          "others than its owner may write to it, and so decide whom to trust: run chmod go-w " +
          report_.directory);
    }
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
      Entry entry;
      entry.file.name = printableText(name, 300);
      entry.path = directory_ + "/" + name;
      entry.hashed = HashedName::parse(name);
      entries_.push_back(std::move(entry));
    }
  }

  // Notes where a symbolic link leads.
  void readLink(Entry& entry) const {
    const std::string target = linkTarget(entry.path);
    if (target.empty()) return;
    entry.file.target = printableText(target, 300);
    std::error_code error;
    const fs::path beside = fs::canonical((fs::path(directory_) / target).parent_path(), error);
    entry.isLinkInside = !error && beside == fs::canonical(directory_, error);
  }

  void readEntry(Entry& entry) const {
    readLink(entry);
    auto& problems = entry.file.problems;
    struct stat status = {};
    if (::stat(entry.path.c_str(), &status) != 0) {
      problems.push_back(entry.file.target.empty()
                             ? "it cannot be looked at: " + std::generic_category().message(errno)
                             : "the link leads nowhere: remove it, then " + rehash());
      return;
    }
    if (S_ISDIR(status.st_mode) && !entry.hashed) {
      entry.file.notes.emplace_back("a directory, which is not looked into");
      return;
    }
    if (!S_ISREG(status.st_mode)) {
      problems.emplace_back("it is not a plain file and is not read: remove it");
      return;
    }
    if ((status.st_mode & kWritableByOthers) != 0 && !entry.isLinkInside) {
      problems.push_back("others than its owner may write to it: run chmod go-w " +
                         printableText(entry.path, 400));
    }
    readContent(entry);
  }

  static void readContent(Entry& entry) {
    auto& problems = entry.file.problems;
    try {
      const std::string text = readPlainFile(entry.path, kMaxStoreFileBytes);
      PemContent content = readPem(text);
      if (content.damaged && !entry.isLinkInside) {
        problems.emplace_back("a PEM block in it is damaged, and not used: get the file anew");
      }
      const bool damaged = content.damaged;
      entry.items = itemsOf(std::move(content));
      if (!entry.items.empty() || damaged) return;
      if (isDerCertificate(text)) {
        problems.emplace_back(
            "it is a certificate in DER form, and only PEM is read: convert it with openssl x509 "
            "-inform DER");
      } else if (entry.hashed) {
        problems.emplace_back("it holds no certificate and no revocation list in PEM form");
      } else {
        entry.file.notes.emplace_back(
            "neither a certificate nor a revocation list in PEM form: not read");
      }
    } catch (const std::exception& failure) {
      problems.push_back(printableText(failure.what(), 400));
    }
  }

  // What the service sees: whatever stands under a hashed name.
  void noteInUse(const Entry& entry) {
    if (!entry.hashed) return;
    for (const StoreItem& item : entry.items) {
      const bool isNew = inUse_[item.isList()].emplace(item.fingerprint(), entry.file.name).second;
      if (isNew && !item.isList()) anchors_.push_back(item.certificate);
    }
  }

  // A look-up takes .0, .1 and so on until there is none.
  void checkNumbering() {
    std::map<std::pair<std::string, bool>, std::set<std::uint32_t>> numbers;
    for (const Entry& entry : entries_) {
      if (entry.hashed)
        numbers[{entry.hashed->hash, entry.hashed->isList}].insert(entry.hashed->number);
    }
    for (Entry& entry : entries_) {
      if (!entry.hashed) continue;
      const auto& taken = numbers[{entry.hashed->hash, entry.hashed->isList}];
      std::uint32_t next = 0;
      while (taken.count(next) != 0) ++next;
      if (entry.hashed->number < next) continue;
      entry.file.problems.push_back("there is no " + entry.hashed->textOf(next) +
                                    ", where a look-up stops before it comes here: " + rehash());
    }
  }

  void tellContent(Entry& entry) {
    for (const StoreItem& item : entry.items) {
      if (entry.isLinkInside) {
        entry.file.content.push_back(item.title());
        continue;
      }
      const auto [told, isNew] = told_.emplace(item.fingerprint(), entry.file.name);
      if (!isNew) {
        entry.file.content.push_back(item.title() + ", as in " + told->second);
      } else if (item.isList()) {
        reportList(item, anchors_, now_, entry.file);
      } else {
        reportCertificate(item, now_, entry.file);
      }
    }
  }

  void checkHashedName(Entry& entry) {
    auto& problems = entry.file.problems;
    for (const StoreItem& item : entry.items) {
      if (item.isList() != entry.hashed->isList) {
        problems.push_back(item.title() + " is looked for under another name (" + item.nameHash() +
                           (item.isList() ? ".r0" : ".0") + "): " + rehash());
      } else if (item.nameHash() != entry.hashed->hash) {
        problems.push_back("its name does not fit: " + item.owner() + " is looked for as " +
                           item.nameHash() + ": " + rehash());
      }
      const std::string& first = inUse_[item.isList()][item.fingerprint()];
      if (first != entry.file.name) {
        problems.push_back("it holds the same as " + first + ": remove one, then " + rehash());
      }
    }
  }

  void checkHashLinks(Entry& entry) {
    for (const StoreItem& item : entry.items) {
      if (inUse_[item.isList()].count(item.fingerprint()) != 0) continue;
      entry.file.problems.push_back("no hash link leads to " + item.title() +
                                    ", so it is not used: " + howToLink(entry));
    }
  }

  // openssl rehash takes files of one certificate or list each, and of these names only.
  std::string howToLink(const Entry& entry) const {
    if (entry.items.size() > 1) {
      return "put each into a file of its own (NAME.pem), then " + rehash();
    }
    const std::string extension = fs::path(entry.path).extension();
    const bool isTaken =
        extension == ".pem" || extension == ".crt" || extension == ".cer" || extension == ".crl";
    return (isTaken ? "" : "rename it to NAME.pem, then ") + rehash();
  }

  std::string directory_;
  std::int64_t now_;
  StoreReport report_;
  std::vector<Entry> entries_;
  std::map<bool, std::map<std::string, std::string>> inUse_;  // lists or not; by fingerprint
  std::vector<CertificatePtr> anchors_;
  std::map<std::string, std::string> told_;
};

}  // namespace

StoreReport checkStore(const std::string& directory, std::int64_t now) {
  return Check(directory, now).run();
}
