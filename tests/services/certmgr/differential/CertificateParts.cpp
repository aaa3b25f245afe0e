#include "tests/services/certmgr/differential/CertificateParts.h"

#include <stdexcept>

#include <openssl/evp.h>

#include "services/certmgr/path/DerReader.h"
#include "services/common/OpenSslOwners.h"

std::string derElement(unsigned char tag, const std::string& content) {
  std::string length;
  if (content.size() < 0x80) {
    length.push_back(static_cast<char>(content.size()));
  } else {
    for (std::size_t rest = content.size(); rest != 0; rest >>= 8U) {
      length.insert(length.begin(), static_cast<char>(rest & 0xffU));
    }
    length.insert(length.begin(), static_cast<char>(0x80U | length.size()));
  }
  return std::string(1, static_cast<char>(tag)) + length + content;
}

CertificateParts::CertificateParts(const std::string& der) {
  DerReader parts(derContent(der, DerReader::kSequence));
  content = parts.take().whole;
  algorithm = parts.take().whole;
  signature = derWholeBytes(parts.content(DerReader::kBitString));
}

std::string CertificateParts::join() const {
  return derElement(
      DerReader::kSequence,
      content + algorithm + derElement(DerReader::kBitString, std::string(1, '\0') + signature));
}

void CertificateParts::signAgain(const TestKey& key, const char* digest) {
  const EVP_MD* method = signsWithoutDigest(key) ? nullptr : EVP_get_digestbyname(digest);
  const OpenSslOwner<EVP_MD_CTX, EVP_MD_CTX_free> context(EVP_MD_CTX_new());
  const auto* bytes = reinterpret_cast<const unsigned char*>(content.data());
  std::size_t length = 0;
  if (EVP_DigestSignInit(context.get(), nullptr, method, nullptr, key.get()) != 1 ||
      EVP_DigestSign(context.get(), nullptr, &length, bytes, content.size()) != 1) {
    throw std::runtime_error("cannot sign");
  }
  signature.resize(length);
  if (EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(signature.data()), &length,
                     bytes, content.size()) != 1) {
    throw std::runtime_error("cannot sign");
  }
  signature.resize(length);
}

bool signsWithoutDigest(const TestKey& key) {
  return EVP_PKEY_id(key.get()) == EVP_PKEY_ED25519;
}
