#include "tools/trustctl/ForeignInput.h"

#include <fmt/format.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pkcs12.h>
#include <openssl/x509.h>

#include "services/common/OpenSslOwners.h"
#include "services/common/PrintableText.h"

namespace {

constexpr const char* privateKey =
    "is a private key, which stays secret; give the certificate file that belongs to it (often "
    "named .crt, .cer or fullchain.pem)";
constexpr const char* publicKey =
    "is a public key without a certificate; give the certificate file";
constexpr const char* request =
    "is a certificate request; give the certificate that the authority made from it";
constexpr const char* revocationList =
    "is a revocation list, not a certificate; give the list with --crlfile";
constexpr const char* keyStore =
    "is a PKCS#12 key store; take the certificates out with: openssl pkcs12 -in FILE -nokeys "
    "-out chain.pem";
constexpr const char* damaged =
    "is binary data, but no certificate: damaged or cut short, or something else; give a PEM, DER "
    "or PKCS#7 file";

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// True when the reader takes the bytes; it owns what it makes through `Owner`.
template <class Owner, class Read>
bool reads(Read read, const unsigned char* bytes, std::size_t length) {
  const unsigned char* end = bytes;
  const Owner object(read(nullptr, &end, static_cast<long>(length)));
  ERR_clear_error();
  return object != nullptr;
}

using KeyOwner = OpenSslOwner<EVP_PKEY, EVP_PKEY_free>;

}  // namespace

std::string describeForeignPem(const std::string& label) {
  if (endsWith(label, "PRIVATE KEY")) {
    return privateKey;
  }
  if (endsWith(label, "PUBLIC KEY")) {
    return publicKey;
  }
  if (endsWith(label, "CERTIFICATE REQUEST")) {
    return request;
  }
  if (endsWith(label, "CRL")) {
    return revocationList;
  }
  if (label.empty()) {
    return "holds no certificate that can be read; give a PEM, DER or PKCS#7 file";
  }
  return fmt::format("holds no certificate, only '{}'; give a file with BEGIN CERTIFICATE in it",
                     printableText(label, 60));
}

std::string describeForeignDer(const unsigned char* bytes, std::size_t length) {
  if (reads<OpenSslOwner<X509_CRL, X509_CRL_free>>(d2i_X509_CRL, bytes, length)) {
    return revocationList;
  }
  if (reads<OpenSslOwner<X509_REQ, X509_REQ_free>>(d2i_X509_REQ, bytes, length)) {
    return request;
  }
  if (reads<OpenSslOwner<PKCS12, PKCS12_free>>(d2i_PKCS12, bytes, length)) {
    return keyStore;
  }
  if (reads<KeyOwner>(d2i_PUBKEY, bytes, length)) {
    return publicKey;
  }
  const bool isEncryptedKey =
      reads<OpenSslOwner<X509_SIG, X509_SIG_free>>(d2i_X509_SIG, bytes, length);
  if (isEncryptedKey || reads<KeyOwner>(d2i_AutoPrivateKey, bytes, length)) {
    return privateKey;
  }
  return damaged;
}
