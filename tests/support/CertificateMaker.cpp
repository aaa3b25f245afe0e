#include "tests/support/CertificateMaker.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include "services/common/OpenSslOwners.h"

namespace {

// Our own corner of the documentation arc; nobody implements it.
constexpr const char* kUnknownOid = "2.999.7.1";

template <typename T, auto Free>
using Owner = OpenSslOwner<T, Free>;

[[noreturn]] void fail(const char* what) {
  char reason[256];
  ERR_error_string_n(ERR_get_error(), reason, sizeof reason);
  ERR_clear_error();
  throw std::runtime_error(std::string("CertificateMaker: ") + what + ": " + reason);
}

void require(bool worked, const char* what) {
  if (!worked) fail(what);
}

template <typename Write>
std::string toPem(Write write) {
  Owner<BIO, BIO_free> bio(BIO_new(BIO_s_mem()));
  require(bio != nullptr && write(bio.get()) == 1, "PEM");
  char* data = nullptr;
  const long length = BIO_get_mem_data(bio.get(), &data);
  return {data, static_cast<size_t>(length)};
}

template <typename Encode>
Bytes toDer(Encode encode) {
  const int length = encode(nullptr);
  require(length > 0, "DER");
  Bytes der(static_cast<size_t>(length));
  unsigned char* end = der.data();
  encode(&end);
  return der;
}

EVP_PKEY* generate(int type, int parameter) {
  Owner<EVP_PKEY_CTX, EVP_PKEY_CTX_free> context(EVP_PKEY_CTX_new_id(type, nullptr));
  require(context != nullptr && EVP_PKEY_keygen_init(context.get()) == 1, "key context");
  const int set = type == EVP_PKEY_EC
                      ? EVP_PKEY_CTX_set_ec_paramgen_curve_nid(context.get(), parameter)
                      : EVP_PKEY_CTX_set_rsa_keygen_bits(context.get(), parameter);
  EVP_PKEY* key = nullptr;
  require(set == 1 && EVP_PKEY_keygen(context.get(), &key) == 1, "key");
  return key;
}

void addNameEntry(X509_NAME* name, const std::string& field, const std::string& bytes, int type) {
  require(X509_NAME_add_entry_by_txt(name, field.c_str(), type,
                                     reinterpret_cast<const unsigned char*>(bytes.data()),
                                     static_cast<int>(bytes.size()), -1, 0) == 1,
          "name entry");
}

std::string hexOf(const Bytes& bytes) {
  std::string hex;
  for (const unsigned char byte : bytes) {
    char pair[3];
    (void)snprintf(pair, sizeof pair, "%02X", byte);
    hex += pair;
  }
  return hex;
}

void setSerial(X509* certificate, const Bytes& magnitude, bool negative) {
  Owner<BIGNUM, BN_free> number(
      BN_bin2bn(magnitude.data(), static_cast<int>(magnitude.size()), nullptr));
  require(number != nullptr, "serial");
  BN_set_negative(number.get(), negative ? 1 : 0);
  require(BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) != nullptr,
          "serial");
}

GENERAL_NAME* makeAltName(int kind, const std::string& bytes) {
  if (kind == GEN_IPADD) {
    GENERAL_NAME* name = a2i_GENERAL_NAME(nullptr, nullptr, nullptr, kind, bytes.c_str(), 0);
    require(name != nullptr, "address");
    return name;
  }
  Owner<GENERAL_NAME, GENERAL_NAME_free> name(GENERAL_NAME_new());
  Owner<ASN1_IA5STRING, ASN1_IA5STRING_free> text(ASN1_IA5STRING_new());
  require(name && text && ASN1_STRING_set(text.get(), bytes.data(), static_cast<int>(bytes.size())),
          "alternative name");
  GENERAL_NAME_set0_value(name.get(), kind, text.release());  // takes the text over
  return name.release();
}

void addUnknownExtension(X509* certificate, bool critical) {
  Owner<ASN1_OBJECT, ASN1_OBJECT_free> oid(OBJ_txt2obj(kUnknownOid, 1));
  Owner<ASN1_OCTET_STRING, ASN1_OCTET_STRING_free> value(ASN1_OCTET_STRING_new());
  static constexpr unsigned char kNull[] = {0x05, 0x00};
  require(oid && value && ASN1_OCTET_STRING_set(value.get(), kNull, sizeof kNull) == 1, "value");
  Owner<X509_EXTENSION, X509_EXTENSION_free> extension(
      X509_EXTENSION_create_by_OBJ(nullptr, oid.get(), critical ? 1 : 0, value.get()));
  require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "unknown extension");
}

// Replaces the octets of a time without any check. The time keeps its length.
void spoil(ASN1_TIME* time) {
  const std::string nonsense(static_cast<size_t>(ASN1_STRING_length(time)), 'x');
  require(ASN1_STRING_set(time, nonsense.data(), static_cast<int>(nonsense.size())) == 1, "time");
}

std::string writeHashed(const std::string& directory, unsigned long hash, const char* infix,
                        const std::string& pem) {
  std::filesystem::create_directories(directory);
  for (int number = 0;; ++number) {
    char name[32];
    (void)snprintf(name, sizeof name, "%08lx.%s%d", hash, infix, number);
    std::string path = directory;
    path.append("/").append(name);
    if (std::filesystem::exists(path)) continue;
    std::ofstream out(path, std::ios::binary);
    out << pem;
    out.close();
    if (!out) throw std::runtime_error("cannot write " + path);
    return path;
  }
}

}  // namespace

TestKey::TestKey(EVP_PKEY* key) : key_(key, EVP_PKEY_free) {}

TestKey TestKey::makeEc() {
  return TestKey(generate(EVP_PKEY_EC, NID_X9_62_prime256v1));
}

TestKey TestKey::makeRsa(int bits) {
  return TestKey(generate(EVP_PKEY_RSA, bits));
}

TestKey TestKey::makeEd25519(const Bytes& seed) {
  EVP_PKEY* key = EVP_PKEY_new_raw_private_key(EVP_PKEY_ED25519, nullptr, seed.data(), seed.size());
  require(key != nullptr, "key");
  return TestKey(key);
}

std::string TestKey::pem() const {
  return toPem([this](BIO* bio) {
    return PEM_write_bio_PKCS8PrivateKey(bio, get(), nullptr, nullptr, 0, nullptr, nullptr);
  });
}

TestCertificate::TestCertificate(X509* certificate, TestKey key)
    : certificate_(certificate, X509_free), key_(std::move(key)) {
  der_ = toDer([certificate](unsigned char** out) { return i2d_X509(certificate, out); });
}

std::string TestCertificate::pem() const {
  return toPem([this](BIO* bio) { return PEM_write_bio_X509(bio, get()); });
}

CertificateMaker::CertificateMaker(std::string_view commonName) {
  this->commonName(commonName);
}

CertificateMaker& CertificateMaker::commonName(std::string_view utf8) {
  subject_.push_back({"CN", std::string(utf8), MBSTRING_UTF8});
  return *this;
}

CertificateMaker& CertificateMaker::rawCommonName(std::string_view bytes, int asn1Type) {
  subject_.push_back({"CN", std::string(bytes), asn1Type});
  return *this;
}

CertificateMaker& CertificateMaker::organization(std::string_view utf8) {
  subject_.push_back({"O", std::string(utf8), MBSTRING_UTF8});
  return *this;
}

CertificateMaker& CertificateMaker::dns(std::string_view name) {
  altNames_.push_back({GEN_DNS, std::string(name)});
  return *this;
}

CertificateMaker& CertificateMaker::ip(std::string_view address) {
  altNames_.push_back({GEN_IPADD, std::string(address)});
  return *this;
}

CertificateMaker& CertificateMaker::uri(std::string_view uri) {
  altNames_.push_back({GEN_URI, std::string(uri)});
  return *this;
}

CertificateMaker& CertificateMaker::email(std::string_view address) {
  altNames_.push_back({GEN_EMAIL, std::string(address)});
  return *this;
}

CertificateMaker& CertificateMaker::asCa(std::optional<int> pathLength) {
  std::string constraints = "critical,CA:TRUE";
  if (pathLength) constraints += ",pathlen:" + std::to_string(*pathLength);
  return basicConstraints(constraints).keyUsage("critical,keyCertSign,cRLSign");
}

CertificateMaker& CertificateMaker::asServer() {
  return basicConstraints("CA:FALSE")
      .keyUsage("critical,digitalSignature")
      .extendedKeyUsage("serverAuth");
}

CertificateMaker& CertificateMaker::basicConstraints(std::string_view value) {
  return extension("basicConstraints", value);
}

CertificateMaker& CertificateMaker::keyUsage(std::string_view value) {
  return extension("keyUsage", value);
}

CertificateMaker& CertificateMaker::extendedKeyUsage(std::string_view value) {
  return extension("extendedKeyUsage", value);
}

CertificateMaker& CertificateMaker::nameConstraints(std::string_view value) {
  return extension("nameConstraints", value);
}

CertificateMaker& CertificateMaker::extension(std::string_view name, std::string_view value) {
  std::erase_if(extensions_, [name](const auto& entry) { return entry.first == name; });
  if (!value.empty()) extensions_.emplace_back(name, value);
  return *this;
}

CertificateMaker& CertificateMaker::unknownExtension(bool critical) {
  unknownExtension_ = critical;
  return *this;
}

CertificateMaker& CertificateMaker::subjectKeyId(const Bytes& id) {
  return extension("subjectKeyIdentifier", hexOf(id));
}

CertificateMaker& CertificateMaker::authorityKeyId(const Bytes& id) {
  Owner<AUTHORITY_KEYID, AUTHORITY_KEYID_free> value(AUTHORITY_KEYID_new());
  require(value != nullptr, "key identifier");
  value->keyid = ASN1_OCTET_STRING_new();
  require(value->keyid != nullptr &&
              ASN1_OCTET_STRING_set(value->keyid, id.data(), static_cast<int>(id.size())) == 1,
          "key identifier");
  const Bytes der =
      toDer([&](unsigned char** out) { return i2d_AUTHORITY_KEYID(value.get(), out); });
  // The configuration text cannot say bytes of our choice, so the value goes in encoded.
  return extension("authorityKeyIdentifier", "DER:" + hexOf(der));
}

CertificateMaker& CertificateMaker::serial(const Bytes& magnitude, bool negative) {
  serial_ = magnitude;
  negativeSerial_ = negative;
  return *this;
}

CertificateMaker& CertificateMaker::version1() {
  version_ = 0;
  return *this;
}

CertificateMaker& CertificateMaker::notBefore(std::string_view time) {
  notBefore_ = time;
  return *this;
}

CertificateMaker& CertificateMaker::notAfter(std::string_view time) {
  notAfter_ = time;
  return *this;
}

CertificateMaker& CertificateMaker::malformedNotAfter() {
  malformedNotAfter_ = true;
  return *this;
}

CertificateMaker& CertificateMaker::key(const TestKey& key) {
  key_ = key;
  return *this;
}

CertificateMaker& CertificateMaker::issuedBy(const TestCertificate& issuer) {
  issuer_ = issuer;
  return *this;
}

CertificateMaker& CertificateMaker::issuerCommonName(std::string_view utf8) {
  issuerName_ = utf8;
  return *this;
}

CertificateMaker& CertificateMaker::signedWith(const TestKey& key) {
  signer_ = key;
  return *this;
}

CertificateMaker& CertificateMaker::digest(std::string_view name) {
  digest_ = name;
  return *this;
}

TestCertificate CertificateMaker::make() const {
  const TestKey key = key_ ? *key_ : TestKey::makeEc();
  Owner<X509, X509_free> certificate(X509_new());
  X509* x = certificate.get();
  require(x != nullptr && X509_set_version(x, version_) == 1 && X509_set_pubkey(x, key.get()) == 1,
          "certificate");
  setSerial(x, serial_, negativeSerial_);

  Owner<X509_NAME, X509_NAME_free> subject(X509_NAME_new());
  for (const NameEntry& entry : subject_) {
    addNameEntry(subject.get(), entry.field, entry.bytes, entry.type);
  }
  require(X509_set_subject_name(x, subject.get()) == 1, "subject");
  if (issuerName_) {
    Owner<X509_NAME, X509_NAME_free> issuer(X509_NAME_new());
    addNameEntry(issuer.get(), "CN", *issuerName_, MBSTRING_UTF8);
    require(X509_set_issuer_name(x, issuer.get()) == 1, "issuer");
  } else {
    require(X509_set_issuer_name(
                x, issuer_ ? X509_get_subject_name(issuer_->get()) : subject.get()) == 1,
            "issuer");
  }

  require(ASN1_TIME_set_string_X509(X509_getm_notBefore(x), notBefore_.c_str()) == 1 &&
              ASN1_TIME_set_string_X509(X509_getm_notAfter(x), notAfter_.c_str()) == 1,
          "dates");
  if (malformedNotAfter_) spoil(X509_getm_notAfter(x));

  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer_ ? issuer_->get() : x, x, nullptr, nullptr, 0);
  X509V3_set_ctx_nodb(&context);
  for (const auto& [name, value] : extensions_) {
    Owner<X509_EXTENSION, X509_EXTENSION_free> extension(
        X509V3_EXT_nconf(nullptr, &context, name.c_str(), value.c_str()));
    require(extension && X509_add_ext(x, extension.get(), -1) == 1, name.c_str());
  }
  if (!altNames_.empty()) {
    Owner<GENERAL_NAMES, GENERAL_NAMES_free> names(GENERAL_NAMES_new());
    for (const AltName& name : altNames_) {
      sk_GENERAL_NAME_push(names.get(), makeAltName(name.kind, name.bytes));  // takes it over
    }
    require(X509_add1_ext_i2d(x, NID_subject_alt_name, names.get(), 0, X509V3_ADD_DEFAULT) == 1,
            "subjectAltName");
  }
  if (unknownExtension_) addUnknownExtension(x, *unknownExtension_);

  const TestKey& signer = signer_ ? *signer_ : (issuer_ ? issuer_->key() : key);
  require(X509_sign(x, signer.get(), EVP_get_digestbyname(digest_.c_str())) > 0, "signature");
  return {certificate.release(), key};
}

CrlMaker& CrlMaker::revoke(const TestCertificate& certificate) {
  revoked_.push_back(certificate);
  return *this;
}

CrlMaker& CrlMaker::lastUpdate(std::string_view time) {
  lastUpdate_ = time;
  return *this;
}

CrlMaker& CrlMaker::nextUpdate(std::string_view time) {
  nextUpdate_ = time;
  return *this;
}

CrlMaker& CrlMaker::signedWith(const TestKey& key) {
  signer_ = key;
  return *this;
}

std::shared_ptr<X509_CRL> CrlMaker::make() const {
  std::shared_ptr<X509_CRL> crl(X509_CRL_new(), X509_CRL_free);
  Owner<ASN1_TIME, ASN1_TIME_free> last(ASN1_TIME_new());
  Owner<ASN1_TIME, ASN1_TIME_free> next(ASN1_TIME_new());
  require(crl && last && next && X509_CRL_set_version(crl.get(), 1) == 1 &&
              X509_CRL_set_issuer_name(crl.get(), X509_get_subject_name(issuer_.get())) == 1 &&
              ASN1_TIME_set_string_X509(last.get(), lastUpdate_.c_str()) == 1 &&
              ASN1_TIME_set_string_X509(next.get(), nextUpdate_.c_str()) == 1 &&
              X509_CRL_set1_lastUpdate(crl.get(), last.get()) == 1 &&
              X509_CRL_set1_nextUpdate(crl.get(), next.get()) == 1,
          "revocation list");
  for (const TestCertificate& certificate : revoked_) {
    Owner<X509_REVOKED, X509_REVOKED_free> entry(X509_REVOKED_new());
    require(
        entry &&
            X509_REVOKED_set_serialNumber(entry.get(), X509_get_serialNumber(certificate.get())) &&
            X509_REVOKED_set_revocationDate(entry.get(), last.get()) == 1,
        "revoked entry");
    require(X509_CRL_add0_revoked(crl.get(), entry.release()) == 1, "revoked entry");
  }
  require(X509_CRL_sort(crl.get()) == 1, "sorting");
  const TestKey& signer = signer_ ? *signer_ : issuer_.key();
  require(X509_CRL_sign(crl.get(), signer.get(), EVP_sha256()) > 0, "signature");
  return crl;
}

std::string CrlMaker::pem() const {
  const auto crl = make();
  return toPem([&](BIO* bio) { return PEM_write_bio_X509_CRL(bio, crl.get()); });
}

Bytes CrlMaker::der() const {
  const auto crl = make();
  return toDer([&](unsigned char** out) { return i2d_X509_CRL(crl.get(), out); });
}

unsigned long CrlMaker::issuerHash() const {
  return X509_subject_name_hash(issuer_.get());
}

std::string addToHashedDirectory(const std::string& directory, const TestCertificate& certificate) {
  return writeHashed(directory, X509_subject_name_hash(certificate.get()), "", certificate.pem());
}

std::string addToHashedDirectory(const std::string& directory, const CrlMaker& crl) {
  return writeHashed(directory, crl.issuerHash(), "r", crl.pem());
}
