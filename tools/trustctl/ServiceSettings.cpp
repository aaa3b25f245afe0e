#include "tools/trustctl/ServiceSettings.h"

#include <errno.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

#include <fmt/format.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/InputFile.h"
#include "tools/trustctl/OpenSslOwner.h"

namespace {

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
  throw CommandError(ExitStatus::wrongUse, fmt::format("{} {}", inputName(path), why));
}

void requireReadable(const std::string& path) {
  if (access(path.c_str(), R_OK) != 0) {
    refuse(path, fmt::format("cannot be read: {}; check the path",
                             std::generic_category().message(errno)));
  }
}

// A file in which `read` finds at least one object.
template <auto read, auto release>
void requireFileWith(const std::string& path, const char* otherwise) {
  requireReadable(path);
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    refuse(path, "is not a file");
  }
  const OpenSslOwner<BIO, BIO_free_all> file(BIO_new_file(path.c_str(), "rb"));
  auto* first = file == nullptr ? nullptr : read(file.get(), nullptr, nullptr, nullptr);
  ERR_clear_error();
  if (first == nullptr) {
    refuse(path, otherwise);
  }
  release(first);
}

}  // namespace

void requireUsable(const ServiceSettings& settings) {
  if (!settings.cafile.empty()) {
    requireFileWith<PEM_read_bio_X509_AUX, X509_free>(
        settings.cafile, "holds no certificate in PEM form; --cafile takes trusted roots");
  }
  if (!settings.crlfile.empty()) {
    requireFileWith<PEM_read_bio_X509_CRL, X509_CRL_free>(
        settings.crlfile,
        "holds no revocation list in PEM form; make one with: openssl crl -inform DER -in FILE");
  }
  if (!settings.capath.empty()) {
    requireReadable(settings.capath);
    std::error_code error;
    if (!std::filesystem::is_directory(settings.capath, error)) {
      refuse(settings.capath, "is not a directory; --capath takes one, --cafile takes a file");
    }
  }
}
