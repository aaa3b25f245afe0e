#ifndef SERVICES_CERTMGR_PATH_PUBLICKEY_H
#define SERVICES_CERTMGR_PATH_PUBLICKEY_H

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "services/common/OpenSslOwners.h"

using KeyContextPtr = OpenSslOwner<EVP_PKEY_CTX, EVP_PKEY_CTX_free>;

// A public key as certificates carry it. Reading one is cheap; OpenSSL's form of it is made
// when it is first asked for, which leaves never are. Safe from several threads.
class PublicKey {
 public:
  enum class Kind { rsa, ellipticCurve, ed25519, ed448, other };

  // Takes a whole SubjectPublicKeyInfo element. A key that cannot be read is `other`.
  explicit PublicKey(std::string_view info);

  Kind kind() const { return kind_; }
  // Of the modulus or the curve's field; 0 for `other`.
  unsigned bits() const { return bits_; }
  // Whether it is as strong as 112 bits at least, and not so long that it only costs.
  bool isStrong() const;
  // "RSA 2048", "EC P-256", "Ed25519", "unknown".
  std::string text() const;
  // What one signature check costs beside the digest, in units of a Budget.
  std::int64_t checkCost() const;
  // SHA-256 of the element: names the key.
  const std::string& identity() const { return identity_; }

  // NULL when OpenSSL refuses it. Throws std::bad_alloc; the next call then tries again. It lives
  // as long as this object.
  EVP_PKEY* get() const;
  // A context of its own that is ready to verify a signature of a SHA-256; NULL for Edwards curves,
  // and when OpenSSL refuses the key. Throws std::bad_alloc.
  KeyContextPtr verification() const;

 private:
  void readRsa(std::string_view bits);
  void readCurve(std::string_view parameters, std::string_view bits);
  void make() const;

  Kind kind_ = Kind::other;
  unsigned bits_ = 0;
  unsigned exponentBits_ = 0;
  std::string identity_;
  const char* name_ = "unknown";
  const char* group_ = "";  // OpenSSL's name of the curve
  std::string material_;    // RSA: the modulus, highest byte first; else the key's bytes
  std::string exponent_;    // RSA
  mutable std::once_flag made_;
  mutable OpenSslOwner<EVP_PKEY, EVP_PKEY_free> key_;
  mutable KeyContextPtr verification_;  // only ever copied: setting one up costs more
};

#endif
