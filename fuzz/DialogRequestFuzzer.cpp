// The request of the dialog service: a text is refused with a std::runtime_error, or keeps the
// limits and holds nothing that could act on a terminal.

#include <limits.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "fuzz/Property.h"
#include "services/dialog/DialogRequest.h"
#include "trustlib/CertificateWarnings.h"

namespace {

bool isPlain(const std::string& text, std::size_t maxBytes) {
  return text.size() <= maxBytes && std::none_of(text.begin(), text.end(), [](char c) {
           const auto byte = static_cast<unsigned char>(c);
           return byte < 0x20 || byte == 0x7f;
         });
}

bool isPlain(const std::optional<std::string>& text, std::size_t maxBytes) {
  return !text || isPlain(*text, maxBytes);
}

unsigned long long allWarnings() {
  unsigned long long all = 0;
  const auto* const names = CertificateWarnings::names();
  std::for_each(names, names + CertificateWarnings::nameCount,
                [&](const auto& warning) { all |= warning.flag; });
  return all;
}

void check(const DialogRequest& request) {
  require(isPlain(request.id, DialogRequest::kMaxIdBytes), "an id is plain and short");
  require(isPlain(request.domain, DialogRequest::kMaxDomainBytes), "a domain is plain and short");
  require(isPlain(request.groupId, DialogRequest::kMaxGroupIdBytes), "a group is plain and short");
  require((request.warnings & ~allWarnings()) == 0, "every warning has a name");
  require(!request.paths.empty() && request.paths.size() <= DialogRequest::kMaxCertificates,
          "a request names some certificates, and no more than allowed");
  require(std::all_of(request.paths.begin(), request.paths.end(),
                      [](const std::string& path) {
                        return isPlain(path, PATH_MAX - 1) && path.starts_with('/');
                      }),
          "every path is plain and absolute");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  DialogRequest request;
  try {
    request = DialogRequest::parse({reinterpret_cast<const char*>(data), size});
  } catch (const std::runtime_error&) {
    return 0;
  }
  check(request);
  return 0;
}
