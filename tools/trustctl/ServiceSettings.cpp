#include "tools/trustctl/ServiceSettings.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

#include <fmt/format.h>

#include "services/common/FileSystem.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/InputFile.h"
#include "tools/trustctl/PemBlocks.h"

namespace {

// What the services read of one file.
constexpr InputRules settingRules = {std::size_t{16} * 1024 * 1024,
                                     "more than the services read; split it or take another",
                                     "write it to a file first"};

struct Holdings {
  std::size_t certificates = 0;
  std::size_t revocationLists = 0;
};

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
  throw CommandError(ExitStatus::wrongUse, fmt::format("{} {}", inputName(path), why));
}

void requireNoStandardInput(const char* option, const std::string& path) {
  if (path == "-") {
    throw CommandError(ExitStatus::wrongUse,
                       fmt::format("{} cannot take standard input; give it a path", option));
  }
}

// One damaged block makes the services pass over others of its file too. So every block counts,
// also one of the kind that was not asked for.
Holdings examineFile(const std::string& path) {
  const std::string name = inputName(path);
  Holdings holdings;
  std::size_t number = 0;
  for (PemBlock& block : readPemBlocks(readPlainFile(path, settingRules), name)) {
    ++number;
    if (holdsRevocationList(block, name, number)) {
      ++holdings.revocationLists;
    } else if (isCertificate(block)) {
      takeCertificate(std::move(block), name, number);
      ++holdings.certificates;
    }
  }
  return holdings;
}

// The plain files right in a directory, which are those that the services read.
std::vector<std::string> filesIn(const std::string& directory) {
  std::vector<std::string> files;
  std::error_code error;
  std::filesystem::directory_iterator entry(directory, error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    if (isPlainFile(entry->path())) {
      files.push_back(entry->path().string());
    }
  }
  if (error) {
    refuse(directory, fmt::format("cannot be read: {}; check the path", error.message()));
  }
  std::sort(files.begin(), files.end());  // the first complaint must not depend on chance
  return files;
}

void requireDirectoryWithCertificates(const std::string& directory) {
  if (pathExists(directory) && !isDirectory(directory)) {
    refuse(directory, "is not a directory; --capath takes one, --cafile takes a file");
  }
  std::size_t certificates = 0;
  for (const std::string& file : filesIn(directory)) {
    certificates += examineFile(file).certificates;
  }
  if (certificates == 0) {
    refuse(directory,
           "holds no file with a certificate in PEM form; --capath takes a directory of trusted "
           "roots");
  }
}

}  // namespace

void requireUsable(const ServiceSettings& settings) {
  requireNoStandardInput("--cafile", settings.cafile);
  requireNoStandardInput("--crlfile", settings.crlfile);
  if (!settings.cafile.empty() && examineFile(settings.cafile).certificates == 0) {
    refuse(settings.cafile, "holds no certificate in PEM form; --cafile takes trusted roots");
  }
  if (!settings.crlfile.empty() && examineFile(settings.crlfile).revocationLists == 0) {
    refuse(settings.crlfile,
           "holds no revocation list in PEM form; make one with: openssl crl -inform DER -in FILE");
  }
  if (!settings.capath.empty()) {
    requireDirectoryWithCertificates(settings.capath);
  }
}
