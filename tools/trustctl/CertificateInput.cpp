#include "tools/trustctl/CertificateInput.h"

#include <algorithm>
#include <iterator>
#include <memory>

#include <fmt/format.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include "tools/trustctl/CertificateBag.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/ForeignInput.h"
#include "tools/trustctl/InputFile.h"
#include "tools/trustctl/OpenSslOwner.h"
#include "tools/trustctl/PrintableText.h"

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

struct OpenSslFree {
  void operator()(void* memory) const { OPENSSL_free(memory); }
};
template <class T>
using OpenSslMemory = std::unique_ptr<T, OpenSslFree>;

struct PemBlock {
  std::string label;
  CertificateDer content;
};

// The next block, whose label is empty where there is none left. `found` blocks came before.
PemBlock readPemBlock(BIO* source, const std::string& name, std::size_t found) {
  char* label = nullptr;
  char* header = nullptr;
  unsigned char* data = nullptr;
  long length = 0;
  ERR_clear_error();
  if (PEM_read_bio(source, &label, &header, &data, &length) != 1) {
    const int reason = ERR_GET_REASON(ERR_peek_last_error());
    ERR_clear_error();
    if (reason == PEM_R_NO_START_LINE) {
      return {};
    }
    refuse(name, fmt::format("is damaged or cut short: PEM block {} has no proper text and END "
                             "line; get the whole file again",
                             found + 1));
  }
  const OpenSslMemory<char> ownedLabel(label);
  const OpenSslMemory<char> ownedHeader(header);
  const OpenSslMemory<unsigned char> ownedData(data);
  return {label, CertificateDer(data, data + length)};
}

bool isCertificateLabel(const std::string& label) {
  return label == PEM_STRING_X509 || label == PEM_STRING_X509_OLD;
}

bool isBagLabel(const std::string& label) {
  return label == PEM_STRING_PKCS7 || label == PEM_STRING_PKCS7_SIGNED || label == PEM_STRING_CMS;
}

// How many bytes of the front are one whole certificate; 0 for none.
std::size_t certificateLength(const unsigned char* bytes, std::size_t length) {
  const unsigned char* end = bytes;
  const OpenSslOwner<X509, X509_free> certificate(
      d2i_X509(nullptr, &end, static_cast<long>(length)));
  ERR_clear_error();
  return certificate == nullptr ? 0 : static_cast<std::size_t>(end - bytes);
}

std::vector<CertificateDer> certificatesOfBlock(PemBlock block, const std::string& name,
                                                std::size_t number) {
  std::vector<CertificateDer> found;
  if (isBagLabel(block.label)) {
    auto bag = readCertificateBag(block.content.data(), block.content.size());
    if (!bag || bag->empty()) {
      refuse(name,
             fmt::format("holds no certificate that can be read in PEM block {} (PKCS#7)", number));
    }
    return std::move(*bag);
  }
  if (block.label == PEM_STRING_X509_TRUSTED) {
    // OpenSSL's own form: the certificate, then what its owner trusts it for.
    block.content.resize(certificateLength(block.content.data(), block.content.size()));
  } else if (!isCertificateLabel(block.label)) {
    return found;
  }
  if (block.content.empty() ||
      certificateLength(block.content.data(), block.content.size()) != block.content.size()) {
    refuse(name, fmt::format("is damaged: PEM block {} is not a certificate though it says so; "
                             "get the file again",
                             number));
  }
  found.push_back(std::move(block.content));
  return found;
}

std::vector<CertificateDer> parsePem(std::string_view bytes, const std::string& name) {
  const OpenSslOwner<BIO, BIO_free_all> source(
      BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())));
  std::vector<CertificateDer> chain;
  std::string foreignLabel;
  std::size_t blocks = 0;
  for (;;) {
    PemBlock block = readPemBlock(source.get(), name, blocks);
    if (block.label.empty()) {
      break;
    }
    ++blocks;
    const std::string label = block.label;
    std::vector<CertificateDer> found = certificatesOfBlock(std::move(block), name, blocks);
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

bool looksLikeDer(std::string_view bytes) {
  return bytes.front() == '\x30';  // a SEQUENCE, as everything here is
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
  if (bytes.find("-----BEGIN ") != std::string_view::npos) {
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
