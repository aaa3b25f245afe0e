#include "tools/trustctl/CertificateInput.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <fmt/format.h>
#include <openssl/pem.h>

#include "tools/trustctl/CertificateBag.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/ForeignInput.h"
#include "tools/trustctl/InputFile.h"
#include "tools/trustctl/PemBlocks.h"

namespace {

[[noreturn]] void refuse(const std::string& name, const std::string& why) {
  throw CommandError(ExitStatus::wrongUse, fmt::format("{} {}", name, why));
}

void requireFewEnough(const std::string& name, std::size_t count) {
  if (count > maxCertificates) {
    refuse(name, fmt::format("brings the chain to more than {} certificates; give the server's "
                             "certificate and its intermediates only",
                             maxCertificates));
  }
}

void append(std::vector<CertificateDer>* all, std::vector<CertificateDer> more,
            const std::string& name) {
  requireFewEnough(name, all->size() + more.size());
  std::move(more.begin(), more.end(), std::back_inserter(*all));
}

// ---- PEM

bool isBagLabel(const std::string& label) {
  return label == PEM_STRING_PKCS7 || label == PEM_STRING_PKCS7_SIGNED || label == PEM_STRING_CMS;
}

std::vector<CertificateDer> certificatesOfBlock(PemBlock block, const std::string& name,
                                                std::size_t number) {
  if (isBagLabel(block.label)) {
    auto bag = readCertificateBag(block.content.data(), block.content.size());
    if (!bag || bag->empty()) {
      refuse(name,
             fmt::format("holds no certificate that can be read in PEM block {} (PKCS#7)", number));
    }
    return std::move(*bag);
  }
  std::vector<CertificateDer> found;
  if (isCertificate(block)) {
    found.push_back(takeCertificate(std::move(block), name, number));
  }
  return found;
}

std::vector<CertificateDer> parsePem(std::string_view bytes, const std::string& name) {
  std::vector<CertificateDer> chain;
  std::string foreignLabel;
  std::size_t number = 0;
  for (PemBlock& block : readPemBlocks(bytes, name)) {
    ++number;
    const std::string label = block.label;
    std::vector<CertificateDer> found = certificatesOfBlock(std::move(block), name, number);
    if (found.empty() && foreignLabel.empty()) {
      foreignLabel = label;
    }
    append(&chain, std::move(found), name);
  }
  if (chain.empty()) {
    refuse(name, describeForeignPem(foreignLabel));
  }
  return chain;
}

// ---- DER

std::vector<CertificateDer> parseDer(std::string_view text, const std::string& name) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  const std::size_t length = certificateLength(bytes, text.size());
  if (length == text.size()) {
    return {CertificateDer(bytes, bytes + length)};
  }
  if (length != 0) {
    refuse(name, fmt::format("has {} bytes after its certificate; DER holds exactly one, use PEM "
                             "for a chain",
                             text.size() - length));
  }
  if (auto bag = readCertificateBag(bytes, text.size())) {
    if (bag->empty()) {
      refuse(name, "is a PKCS#7 file without a certificate; give one that holds the chain");
    }
    requireFewEnough(name, bag->size());
    return std::move(*bag);
  }
  refuse(name, describeForeignDer(bytes, text.size()));
}

bool mentionsPem(std::string_view bytes) {
  return bytes.find("-----BEGIN ") != std::string_view::npos;
}

bool isUtf16(std::string_view bytes) {
  return bytes.substr(0, 2) == "\xFF\xFE" || bytes.substr(0, 2) == "\xFE\xFF";
}

// A SEQUENCE, as everything here is. Text may begin with its first byte, the digit 0, but then
// the length behind it is too short for anything here.
bool looksLikeDer(std::string_view bytes) {
  const bool isShort = bytes.size() > 1 && static_cast<unsigned char>(bytes[1]) < 0x80;
  return bytes.front() == '\x30' && !(isShort && mentionsPem(bytes));
}

}  // namespace

std::vector<CertificateDer> parseCertificates(std::string_view bytes, const std::string& name) {
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (bytes.substr(0, byteOrderMark.size()) == byteOrderMark) {
    bytes.remove_prefix(byteOrderMark.size());
  }
  if (!bytes.empty() && looksLikeDer(bytes)) {
    return parseDer(bytes, name);
  }
  if (isUtf16(bytes)) {
    refuse(name, "is text in UTF-16; save it as UTF-8 or ASCII");
  }
  if (mentionsPem(bytes)) {
    return parsePem(bytes, name);
  }
  refuse(name, "holds no certificate; give a PEM, DER or PKCS#7 file");
}

std::vector<CertificateDer> readCertificates(const std::vector<std::string>& paths) {
  if (std::count(paths.begin(), paths.end(), "-") > 1) {
    throw CommandError(ExitStatus::wrongUse,
                       "standard input is named twice; it can be read only once");
  }
  std::vector<CertificateDer> chain;
  for (const std::string& path : paths) {
    append(&chain, parseCertificates(readInput(path), inputName(path)), inputName(path));
  }
  return chain;
}
