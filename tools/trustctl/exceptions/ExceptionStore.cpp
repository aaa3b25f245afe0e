#include "tools/trustctl/exceptions/ExceptionStore.h"

#include <dirent.h>
#include <errno.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

#include <fmt/format.h>

#include "services/common/CertificateFiles.h"
#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/Interruption.h"

namespace {

struct DirectoryClose {
  void operator()(DIR* directory) const { closedir(directory); }
};

bool endsIn(std::string_view ending, std::string_view name) {
  return name.size() >= ending.size() && name.substr(name.size() - ending.size()) == ending;
}

[[noreturn]] void refuseDirectory(const std::string& directory, int error) {
  const char* next = error == EACCES    ? "run as the user whose store it is"
                     : error == ENOTDIR ? "give the store's directory with --store"
                     : error == ENOENT  ? "it is a link that leads nowhere; remove the link, or "
                                          "make the directory that it names"
                                        : "check the path and the disk";
  throw CommandError(ExitStatus::undecided,
                     fmt::format("cannot read the store '{}': {}; {}", printableText(directory),
                                 std::generic_category().message(error), next));
}

}  // namespace

ExceptionStore::ExceptionStore(std::string directory) : directory_(std::move(directory)) {}

bool ExceptionStore::exists() const {
  struct stat status {};
  if (stat(directory_.c_str(), &status) == 0) {
    if (!S_ISDIR(status.st_mode)) {
      refuseDirectory(directory_, ENOTDIR);
    }
    return true;
  }
  const int error = errno;
  if (error == ENOENT && lstat(directory_.c_str(), &status) == -1 && errno == ENOENT) {
    return false;
  }
  refuseDirectory(directory_, error);
}

std::vector<std::string> ExceptionStore::fileNames(std::string_view ending) const {
  std::vector<std::string> names;
  const std::unique_ptr<DIR, DirectoryClose> entries(opendir(directory_.c_str()));
  if (entries == nullptr) {
    const int error = errno;
    if (error == ENOENT && !exists()) {
      return names;
    }
    refuseDirectory(directory_, error);
  }
  errno = 0;
  while (const dirent* entry = readdir(entries.get())) {  // NOLINT: a stream of our own
    if (endsIn(ending, entry->d_name)) {
      names.emplace_back(entry->d_name);
    }
    errno = 0;
  }
  if (errno != 0) {
    refuseDirectory(directory_, errno);
  }
  std::sort(names.begin(), names.end());
  return names;
}

ExceptionRecord ExceptionStore::read(const std::string& fileName) const {
  Interruption::check();
  return parseRecord(readPlainFile(pathOf(fileName), maxRecordBytes));
}

bool ExceptionStore::has(const std::string& fileName) const {
  struct stat status {};
  return lstat(pathOf(fileName).c_str(), &status) == 0 || errno != ENOENT;
}

std::int64_t ExceptionStore::writtenAt(const std::string& fileName) const {
  struct stat status {};
  return lstat(pathOf(fileName).c_str(), &status) == 0 ? std::int64_t{status.st_mtim.tv_sec} : 0;
}
