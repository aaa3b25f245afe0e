#include "tests/tools/exceptions/Records.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <list>
#include <memory>

#include "tools/trustctl/exceptions/RecordName.h"
#include "trustlib/CertificateExceptionImpl.h"
#include "trustlib/CertificateImpl.h"
#include "trustlib/CertificateWarnings.h"
#include "trustlib/FileCertificateExceptionStore.h"

namespace fs = std::filesystem;

namespace {

CertificateDer bytesOf(const std::string& text) {
  return {text.begin(), text.end()};
}

// The record as the library has it, for one call.
class LibraryRecord {
 public:
  explicit LibraryRecord(const ExceptionRecord& record) {
    std::list<CertificateImpl> certificates;
    std::list<Certificate*> chain;
    for (const CertificateDer& der : record.chain) {
      certificates.emplace_back(der.data(), static_cast<unsigned>(der.size()));
      chain.push_back(&certificates.back());
    }
    exception_ = std::make_unique<CertificateExceptionImpl>(
        record.warnings, record.domain ? &*record.domain : nullptr, &chain);
  }
  const CertificateException* get() const { return exception_.get(); }

 private:
  std::unique_ptr<CertificateException> exception_;
};

}  // namespace

ExceptionRecord plainRecord(const std::string& domain, const std::string& certificate) {
  ExceptionRecord record;
  record.domain = domain;
  record.warnings = CertificateWarnings::NO_TRUSTED;
  record.chain = {bytesOf(certificate)};
  return record;
}

std::vector<ExceptionRecord> recordsOfOneHash(std::size_t count, const std::string& bytes) {
  std::vector<ExceptionRecord> records;
  for (std::size_t i = 1; i <= count; ++i) {
    records.push_back(plainRecord(bytes.substr(0, i), bytes.substr(i)));
  }
  return records;
}

std::string place(const std::string& directory, const ExceptionRecord& record, int number) {
  std::string name = fileNameOf({hashOf(record), number});
  placeBytes(directory, name, writeRecord(record));
  return name;
}

void placeBytes(const std::string& directory, const std::string& name, const std::string& bytes) {
  fs::create_directories(directory);
  const std::string path = directory + "/" + name;
  std::ofstream(path, std::ios::binary) << bytes;
  // Whatever the umask of who runs the tests.
  fs::permissions(directory, fs::perms::owner_all);
  fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
}

bool libraryFinds(const std::string& directory, const ExceptionRecord& record) {
  const FileCertificateExceptionStore store(&directory);
  return store.exceptionExists(LibraryRecord(record).get());
}

void libraryAdds(const std::string& directory, const ExceptionRecord& record) {
  FileCertificateExceptionStore(&directory).addException(LibraryRecord(record).get());
}

std::size_t countFound(const std::string& directory, const std::vector<ExceptionRecord>& records) {
  return static_cast<std::size_t>(std::count_if(
      records.begin(), records.end(),
      [&directory](const ExceptionRecord& record) { return libraryFinds(directory, record); }));
}

std::vector<std::string> entriesOf(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory)) {
    const std::string name = entry.path().filename().string();
    if (!fs::is_directory(entry.symlink_status()) && name != ".trustctl.lock") {
      names.push_back(name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}
