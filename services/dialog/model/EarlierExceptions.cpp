#include "services/dialog/model/EarlierExceptions.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "platform/toolkit/toolkit.h"
#include "services/common/CertificateFiles.h"
#include "services/common/TextReader.h"

namespace {

constexpr std::string_view kPrefix = "cx_";
constexpr std::string_view kExtension = ".json";
constexpr std::size_t kMaxFileBytes = 1024 * 1024;
constexpr std::size_t kMaxFiles = 2000;
constexpr std::size_t kMaxBytes = 64 * kMaxFileBytes;
constexpr std::size_t kMaxExceptions = 100;
constexpr std::size_t kMaxChain = 32;  // as long as a chain that the dialog takes
constexpr int kVersion = 1;

struct DirectoryClose {
  void operator()(DIR* directory) const { ::closedir(directory); }
};
using DirectoryPtr = std::unique_ptr<DIR, DirectoryClose>;

struct StoredFile {
  // Since 1970, seconds and nanoseconds: 64 bits of nanoseconds end in 2262, and whoever stores a
  // file can date it later. Ties go by name.
  std::pair<std::int64_t, long> modified;
  std::string name;
  std::size_t size;
};

bool isExceptionName(std::string_view name) {
  return name.substr(0, kPrefix.size()) == kPrefix &&
         name.size() >= kPrefix.size() + kExtension.size() &&
         name.substr(name.size() - kExtension.size()) == kExtension;
}

bool isNewer(const StoredFile& a, const StoredFile& b) {
  return a.modified != b.modified ? a.modified > b.modified : a.name < b.name;
}

// The newest files of the owner, newest first. A folder of any size takes no more room than twice
// the files that are kept.
std::vector<StoredFile> listNewest(const std::string& directory, uid_t owner) {
  std::vector<StoredFile> files;
  const DirectoryPtr entries(::opendir(directory.c_str()));
  if (entries == nullptr) return files;
  while (const dirent* entry = ::readdir(entries.get())) {  // NOLINT: a stream of our own
    struct stat status = {};
    if (!isExceptionName(entry->d_name) ||
        ::fstatat(::dirfd(entries.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISREG(status.st_mode) || status.st_uid != owner || status.st_size < 0 ||
        static_cast<std::uint64_t>(status.st_size) > kMaxFileBytes) {
      continue;
    }
    files.push_back({{status.st_mtim.tv_sec, status.st_mtim.tv_nsec},
                     entry->d_name,
                     static_cast<std::size_t>(status.st_size)});
    if (files.size() < 2 * kMaxFiles) continue;
    std::nth_element(files.begin(), files.begin() + kMaxFiles, files.end(), isNewer);
    files.resize(kMaxFiles);
  }
  std::sort(files.begin(), files.end(), isNewer);
  files.resize(std::min(files.size(), kMaxFiles));
  return files;
}

// A set with the top bit is written as a negative number.
unsigned long long parseWarnings(const std::string& text) {
  long long value = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ec != std::errc() || result.ptr != end) {
    throw std::runtime_error("the warnings are no number");
  }
  return static_cast<unsigned long long>(value);
}

CertificateDer decodeBase64(const std::string& text) {
  CertificateDer der(text.size());
  auto length = static_cast<unsigned>(der.size());
  if (toolkit_base64_decode(text.data(), static_cast<unsigned>(text.size()), der.data(), &length) !=
      TOOLKIT_OK) {
    throw std::runtime_error("a certificate is no base64");
  }
  der.resize(length);
  return der;
}

std::vector<CertificateDer> readChainOf(TextReader* reader) {
  std::vector<CertificateDer> chain;
  reader->enter("chain");
  const std::size_t count = reader->count();
  if (count == 0 || count > kMaxChain) throw std::runtime_error("a chain of no fit length");
  for (std::size_t i = 0; i < count; ++i) {
    reader->enter(nullptr);
    chain.push_back(decodeBase64(reader->string("der")));
    reader->leave();
  }
  reader->leave();
  return chain;
}

// Nothing when it is for another domain. Throws std::runtime_error when it is no exception.
std::optional<EarlierException> parseException(const std::string& text,
                                               const std::optional<std::string>& domain) {
  TextReader reader(text, TextReader::Form::json, "the exception");
  if (reader.integer("version") > kVersion) throw std::runtime_error("a later version");
  EarlierException exception;
  exception.domain = reader.optionalString("domain");
  if (exception.domain != domain) return {};
  exception.warnings = parseWarnings(reader.string("warnings"));
  exception.chain = readChainOf(&reader);
  return exception;
}

}  // namespace

std::vector<EarlierException> readEarlierExceptions(const std::string& directory,
                                                    const std::optional<std::string>& domain,
                                                    uid_t owner) {
  std::vector<EarlierException> found;
  std::size_t bytes = 0;
  for (const StoredFile& file : listNewest(directory, owner)) {
    bytes += file.size;
    if (bytes > kMaxBytes || found.size() == kMaxExceptions) break;
    try {
      const std::string text = readOwnedFile(directory + "/" + file.name, kMaxFileBytes, owner);
      if (auto exception = parseException(text, domain)) found.push_back(*std::move(exception));
    } catch (const std::runtime_error&) {
      continue;  // the verdict's own look-up reports a broken file; here it only tells nothing
    }
  }
  return found;
}
