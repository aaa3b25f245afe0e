#include "fuzz/OddParts.h"

#include <string_view>

#include <openssl/x509.h>

#include "services/common/OpenSslOwners.h"

namespace {

template <class Value, void (*free)(Value*), Value* (*decode)(Value**, const unsigned char**, long)>
bool decodes(std::string_view der) {
  const auto* at = reinterpret_cast<const unsigned char*>(der.data());
  const OpenSslOwner<Value, free> value(decode(nullptr, &at, static_cast<long>(der.size())));
  return value != nullptr;
}

bool isName(std::string_view der) {
  return decodes<X509_NAME, X509_NAME_free, d2i_X509_NAME>(der);
}

bool isAlgorithm(std::string_view der) {
  return decodes<X509_ALGOR, X509_ALGOR_free, d2i_X509_ALGOR>(der);
}

bool isShortest(std::string_view integer) {
  if (integer.size() < 2) return true;
  const bool isHigh = static_cast<unsigned char>(integer[1]) >= 0x80;
  return static_cast<unsigned char>(integer[0]) != (isHigh ? 0xff : 0);
}

}  // namespace

bool hasOddName(const ParsedCertificate& certificate) {
  return !isName(certificate.subject.der()) || !isName(certificate.issuer.der());
}

bool hasOddPart(const ParsedCertificate& certificate) {
  const SignedBytes& bytes = certificate.signedBytes;
  return !isAlgorithm(bytes.algorithm) || !isAlgorithm(bytes.innerAlgorithm) ||
         bytes.signature.empty() || certificate.key->get() == nullptr ||
         !isShortest(certificate.serial) || !certificate.notBefore || !certificate.notAfter ||
         !certificate.unreadable.empty();
}
