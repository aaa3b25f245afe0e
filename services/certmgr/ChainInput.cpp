#include "services/certmgr/ChainInput.h"

#include <cstddef>
#include <stdexcept>

#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/stores/PemFile.h"
#include "services/common/CertificateFiles.h"

namespace {

constexpr std::size_t kMaxFileBytes = 1024 * 1024;

// NULL when the bytes are no certificate.
CertificatePtr parseDer(const std::string& bytes) {
  try {
    return ParsedCertificate::parse(bytes);
  } catch (const DerError&) {
    return nullptr;
  }
}

[[noreturn]] void fail(const std::string& file, const std::string& reason) {
  throw std::runtime_error("cannot use the file " + file + ": " + reason);
}

}  // namespace

std::vector<GivenCertificate> readChain(const std::vector<std::string>& files) {
  std::vector<GivenCertificate> chain;
  for (const std::string& file : files) {
    const std::string content = readPlainFile(file, kMaxFileBytes);
    if (const CertificatePtr certificate = parseDer(content)) {
      chain.push_back({file, certificate->der});
      continue;
    }
    const PemContent pem = readPem(content);
    if (pem.damaged) fail(file, "a PEM block in it cannot be read");
    if (pem.anchors.empty()) fail(file, "it holds no certificate in DER or PEM form");
    for (const Anchor& anchor : pem.anchors) chain.push_back({file, anchor.certificate->der});
  }
  return chain;
}
