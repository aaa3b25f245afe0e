#ifndef TESTS_SUPPORT_CERTIFICATEMAKER_H
#define TESTS_SUPPORT_CERTIFICATEMAKER_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <openssl/ossl_typ.h>

using Bytes = std::vector<unsigned char>;

// A private key; copies share it.
class TestKey {
 public:
  static TestKey makeEc();                  // NIST P-256
  static TestKey makeRsa(int bits = 2048);  // slower; use it where RSA is the point
  // Ed25519, the same key for the same 32 bytes; its certificates need digest("").
  static TestKey makeEd25519(const Bytes& seed);
  std::string pem() const;  // PKCS #8, unencrypted
  EVP_PKEY* get() const { return key_.get(); }

 private:
  explicit TestKey(EVP_PKEY* key);  // takes over the key
  std::shared_ptr<EVP_PKEY> key_;
};

// A finished certificate with its key, so that it can issue others.
class TestCertificate {
 public:
  TestCertificate(X509* certificate, TestKey key);  // takes over the certificate

  const Bytes& der() const { return der_; }
  std::string derString() const { return {der_.begin(), der_.end()}; }
  std::string pem() const;
  std::string keyPem() const { return key_.pem(); }
  const TestKey& key() const { return key_; }
  X509* get() const { return certificate_.get(); }

 private:
  std::shared_ptr<X509> certificate_;
  TestKey key_;
  Bytes der_;
};

// Makes one certificate. What is not said has a fixed default: X.509v3, an EC
// P-256 key of its own, valid 2020-01-01 to 2099-12-31, serial 01, signed by its
// own key with SHA-256, and no extension at all. Every setter returns *this;
// names are appended. make() may be called several times. Throws
// std::runtime_error when OpenSSL refuses.
//
//     TestCertificate root = CertificateMaker("Root").asCa().make();
//     TestCertificate leaf = CertificateMaker("a.example").issuedBy(root).dns("a.example").make();
class CertificateMaker {
 public:
  explicit CertificateMaker(std::string_view commonName);
  CertificateMaker() = default;  // an empty subject

  // Subject. A raw name keeps its bytes and ASN.1 string type (V_ASN1_...).
  CertificateMaker& commonName(std::string_view utf8);
  CertificateMaker& rawCommonName(std::string_view bytes, int asn1Type);
  CertificateMaker& organization(std::string_view utf8);

  // Subject alternative names; the bytes go in as they are, NUL included.
  CertificateMaker& dns(std::string_view name);
  CertificateMaker& ip(std::string_view address);  // text form, IPv4 or IPv6
  CertificateMaker& uri(std::string_view uri);
  CertificateMaker& email(std::string_view address);

  // The usual extensions of a CA: critical basicConstraints and keyUsage.
  CertificateMaker& asCa(std::optional<int> pathLength = std::nullopt);
  // The usual extensions of a server leaf: CA:FALSE, digitalSignature, serverAuth.
  CertificateMaker& asServer();

  // Single extensions, by OpenSSL's configuration text; a later call of the same
  // kind replaces the earlier one, and an empty text removes it.
  CertificateMaker& basicConstraints(std::string_view value);  // "critical,CA:TRUE,pathlen:0"
  CertificateMaker& keyUsage(std::string_view value);          // "critical,keyCertSign"
  CertificateMaker& extendedKeyUsage(std::string_view value);  // "serverAuth"
  CertificateMaker& nameConstraints(std::string_view value);   // "critical,permitted;DNS:example"
  CertificateMaker& extension(std::string_view name, std::string_view value);
  // An extension nobody knows, with an OID of our own.
  CertificateMaker& unknownExtension(bool critical);
  // Subject and authority key identifiers; the bytes need not fit any key.
  CertificateMaker& subjectKeyId(const Bytes& id);
  CertificateMaker& authorityKeyId(const Bytes& id);

  CertificateMaker& serial(const Bytes& magnitude, bool negative = false);
  CertificateMaker& version1();
  // "YYYYMMDDHHMMSSZ".
  CertificateMaker& notBefore(std::string_view time);
  CertificateMaker& notAfter(std::string_view time);
  // A notAfter that is no time at all.
  CertificateMaker& malformedNotAfter();

  CertificateMaker& key(const TestKey& key);
  CertificateMaker& issuedBy(const TestCertificate& issuer);
  CertificateMaker& issuerCommonName(std::string_view utf8);  // overrides the issuer's subject
  CertificateMaker& signedWith(const TestKey& key);           // overrides the issuer's key
  CertificateMaker& digest(std::string_view name);            // "SHA256", "SHA1", ...

  TestCertificate make() const;

 private:
  struct NameEntry {
    std::string field;
    std::string bytes;
    int type;
  };
  struct AltName {
    int kind;
    std::string bytes;
  };

  std::vector<NameEntry> subject_;
  std::vector<AltName> altNames_;
  std::vector<std::pair<std::string, std::string>> extensions_;
  std::optional<bool> unknownExtension_;
  Bytes serial_{1};
  bool negativeSerial_ = false;
  long version_ = 2;
  std::string notBefore_ = "20200101000000Z";
  std::string notAfter_ = "20991231235959Z";
  bool malformedNotAfter_ = false;
  std::optional<TestKey> key_;
  std::optional<TestCertificate> issuer_;
  std::optional<std::string> issuerName_;
  std::optional<TestKey> signer_;
  std::string digest_ = "SHA256";
};

// Makes a version 2 revocation list of `issuer`, in force 2020-01-01 to 2099-12-31.
class CrlMaker {
 public:
  explicit CrlMaker(const TestCertificate& issuer) : issuer_(issuer) {}

  CrlMaker& revoke(const TestCertificate& certificate);
  CrlMaker& lastUpdate(std::string_view time);  // "YYYYMMDDHHMMSSZ"
  CrlMaker& nextUpdate(std::string_view time);
  CrlMaker& signedWith(const TestKey& key);

  std::string pem() const;
  Bytes der() const;
  // The hash of the issuer's name, as in hashed directories.
  unsigned long issuerHash() const;

 private:
  std::shared_ptr<X509_CRL> make() const;

  TestCertificate issuer_;
  std::vector<TestCertificate> revoked_;
  std::string lastUpdate_ = "20200101000000Z";
  std::string nextUpdate_ = "20991231235959Z";
  std::optional<TestKey> signer_;
};

// Writes into a hashed directory, which is made when missing: HASH.0, HASH.1, ...
// for certificates and HASH.r0, ... for lists. Returns the path of the new file.
std::string addToHashedDirectory(const std::string& directory, const TestCertificate& certificate);
std::string addToHashedDirectory(const std::string& directory, const CrlMaker& crl);

#endif
