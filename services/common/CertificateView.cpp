#include "services/common/CertificateView.h"

#include <time.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include <fmt/format.h>
#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

#include "services/common/PrintableText.h"
#include "services/common/TimeText.h"

namespace {

// What separates the parts of a shown name; inside a value they must not pass for that.
constexpr std::string_view nameSyntax = ",+=";

std::string hex(const unsigned char* bytes, std::size_t length) {
  std::string out;
  for (std::size_t i = 0; i < length; ++i) {
    out += fmt::format("{:02x}", bytes[i]);
  }
  return out;
}

std::string viewField(const ASN1_OBJECT* type) {
  const int nid = OBJ_obj2nid(type);
  if (nid != NID_undef) {
    return OBJ_nid2sn(nid);
  }
  char digits[128];
  const int length = OBJ_obj2txt(digits, sizeof digits, type, 1);
  return length > 0 ? std::string(digits) : "?";
}

// Text in UTF-8 where its ASN.1 type says what it is, else its bytes.
std::string viewValue(const ASN1_STRING* value) {
  unsigned char* utf8 = nullptr;
  const int length = ASN1_STRING_to_UTF8(&utf8, value);
  if (length < 0) {
    ERR_clear_error();
    return escapeText({reinterpret_cast<const char*>(ASN1_STRING_get0_data(value)),
                       static_cast<std::size_t>(ASN1_STRING_length(value))},
                      nameSyntax);
  }
  std::string out = escapeText(
      {reinterpret_cast<const char*>(utf8), static_cast<std::size_t>(length)}, nameSyntax);
  OPENSSL_free(utf8);
  return out;
}

std::string viewSerial(const ASN1_INTEGER* serial) {
  const OpenSslOwner<BIGNUM, BN_free> number(ASN1_INTEGER_to_BN(serial, nullptr));
  if (number == nullptr) {
    ERR_clear_error();
    return {};
  }
  const int length = std::max(BN_num_bytes(number.get()), 1);  // zero has no bytes of its own
  std::vector<unsigned char> bytes(static_cast<std::size_t>(length));
  BN_bn2binpad(number.get(), bytes.data(), length);
  return (BN_is_negative(number.get()) != 0 ? "-" : "") + hex(bytes.data(), bytes.size());
}

std::string viewDigest(const CertificateDer& der) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  if (EVP_Digest(der.data(), der.size(), digest, &length, EVP_sha256(), nullptr) != 1) {
    throw std::runtime_error("cannot compute a SHA-256 fingerprint; check this machine's OpenSSL");
  }
  return hex(digest, length);
}

const char* keyTypeName(int type) {
  switch (type) {
    case EVP_PKEY_RSA:
      return "RSA";
    case EVP_PKEY_RSA_PSS:
      return "RSA-PSS";
    case EVP_PKEY_EC:
      return "elliptic curve";
    case EVP_PKEY_ED25519:
      return "Ed25519";
    case EVP_PKEY_ED448:
      return "Ed448";
    default:
      return OBJ_nid2sn(type);
  }
}

std::string viewKey(const X509* certificate) {
  const EVP_PKEY* key = X509_get0_pubkey(certificate);
  if (key == nullptr) {
    ERR_clear_error();
    return "a kind that cannot be read";
  }
  return fmt::format("{}, {} bits", keyTypeName(EVP_PKEY_base_id(key)), EVP_PKEY_bits(key));
}

bool isSelfSigned(X509* certificate) {
  return X509_NAME_cmp(X509_get_subject_name(certificate), X509_get_issuer_name(certificate)) ==
             0 &&
         isSignedBy(certificate, certificate);
}

}  // namespace

std::optional<std::int64_t> viewTime(const ASN1_TIME* time) {
  struct tm civil {};
  if (time == nullptr || ASN1_TIME_to_tm(time, &civil) != 1) {
    ERR_clear_error();
    return {};
  }
  return civilTime(civil.tm_year + 1900, civil.tm_mon + 1, civil.tm_mday, civil.tm_hour,
                   civil.tm_min, civil.tm_sec);
}

// The most telling part, the common name, stands last in a certificate and is shown first.
std::string viewName(const X509_NAME* name) {
  std::string out;
  for (int i = X509_NAME_entry_count(name) - 1; i >= 0; --i) {
    const X509_NAME_ENTRY* entry = X509_NAME_get_entry(name, i);
    out += fmt::format("{}{}={}", out.empty() ? "" : ", ",
                       viewField(X509_NAME_ENTRY_get_object(entry)),
                       viewValue(X509_NAME_ENTRY_get_data(entry)));
  }
  return out;
}

X509Ptr parseCertificate(const CertificateDer& der) {
  const unsigned char* end = der.data();
  X509Ptr certificate(d2i_X509(nullptr, &end, static_cast<long>(der.size())));
  ERR_clear_error();
  return certificate;
}

bool isSignedBy(X509* certificate, const X509* issuer) {
  EVP_PKEY* key = X509_get0_pubkey(issuer);
  const bool proven = key != nullptr && X509_verify(certificate, key) == 1;
  ERR_clear_error();
  return proven;
}

CertificateView viewCertificate(const CertificateDer& der) {
  const X509Ptr certificate = parseCertificate(der);
  if (certificate == nullptr) throw std::runtime_error("the bytes are no certificate");
  return {viewName(X509_get_subject_name(certificate.get())),
          viewName(X509_get_issuer_name(certificate.get())),
          viewSerial(X509_get0_serialNumber(certificate.get())),
          viewTime(X509_get0_notBefore(certificate.get())),
          viewTime(X509_get0_notAfter(certificate.get())),
          viewDigest(der),
          namesOf(certificate.get()),
          viewKey(certificate.get()),
          isSelfSigned(certificate.get())};
}
