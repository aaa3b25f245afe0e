#include "services/certmgr/path/PublicKey.h"

#include <algorithm>
#include <bit>

#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/obj_mac.h>
#include <openssl/opensslv.h>
#include <openssl/rsa.h>
#if OPENSSL_VERSION_NUMBER >= 0x30000000L
#include <openssl/core_names.h>
#include <openssl/param_build.h>
#endif

#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/Digest.h"

namespace {

using namespace std::string_view_literals;

constexpr auto kRsa = "\x2a\x86\x48\x86\xf7\x0d\x01\x01\x01"sv;
constexpr auto kEllipticCurve = "\x2a\x86\x48\xce\x3d\x02\x01"sv;
constexpr auto kEd25519 = "\x2b\x65\x70"sv;
constexpr auto kEd448 = "\x2b\x65\x71"sv;

struct Curve {
  std::string_view oid;
  const char* group;
  const char* name;
  std::int64_t checkCost;  // measured, rounded up
  int nid;
  unsigned bits;
};
constexpr Curve kCurves[] = {
    {"\x2a\x86\x48\xce\x3d\x03\x01\x07"sv, "prime256v1", "EC P-256", 75'000, NID_X9_62_prime256v1,
     256},
    {"\x2b\x81\x04\x00\x22"sv, "secp384r1", "EC P-384", 800'000, NID_secp384r1, 384},
    {"\x2b\x81\x04\x00\x23"sv, "secp521r1", "EC P-521", 900'000, NID_secp521r1, 521},
    {"\x2b\x81\x04\x00\x21"sv, "secp224r1", "EC P-224", 500'000, NID_secp224r1, 224},
    {"\x2b\x81\x04\x00\x0a"sv, "secp256k1", "EC secp256k1", 500'000, NID_secp256k1, 256},
    {"\x2b\x24\x03\x03\x02\x08\x01\x01\x07"sv, "brainpoolP256r1", "EC brainpoolP256r1", 500'000,
     NID_brainpoolP256r1, 256},
    {"\x2b\x24\x03\x03\x02\x08\x01\x01\x0b"sv, "brainpoolP384r1", "EC brainpoolP384r1", 900'000,
     NID_brainpoolP384r1, 384},
    {"\x2b\x24\x03\x03\x02\x08\x01\x01\x0d"sv, "brainpoolP512r1", "EC brainpoolP512r1", 1'500'000,
     NID_brainpoolP512r1, 512},
};

const Curve* curveNamed(const char* group) {
  const auto* const found = std::find_if(std::begin(kCurves), std::end(kCurves),
                                         [&](const Curve& curve) { return curve.group == group; });
  return found == std::end(kCurves) ? nullptr : found;
}

// The magnitude of a positive INTEGER.
std::string_view magnitudeOf(std::string_view content) {
  if (content.empty() || static_cast<unsigned char>(content.front()) >= 0x80) {
    throw DerError("a number of the key is not positive");
  }
  while (!content.empty() && content.front() == 0) content.remove_prefix(1);
  if (content.empty()) throw DerError("a number of the key is not positive");
  return content;
}

unsigned bitsOf(std::string_view magnitude) {
  const auto first = static_cast<unsigned char>(magnitude.front());
  return static_cast<unsigned>(8 * (magnitude.size() - 1)) +
         static_cast<unsigned>(std::bit_width(first));
}

const unsigned char* bytesOf(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

using NumberPtr = OpenSslOwner<BIGNUM, BN_free>;
using KeyPtr = OpenSslOwner<EVP_PKEY, EVP_PKEY_free>;

NumberPtr numberOf(const std::string& magnitude) {
  return NumberPtr(BN_bin2bn(bytesOf(magnitude), static_cast<int>(magnitude.size()), nullptr));
}

#if OPENSSL_VERSION_NUMBER >= 0x30000000L

using ParamBuilderPtr = OpenSslOwner<OSSL_PARAM_BLD, OSSL_PARAM_BLD_free>;
using ParamsPtr = OpenSslOwner<OSSL_PARAM, OSSL_PARAM_free>;

KeyPtr keyOf(const char* type, const ParamBuilderPtr& builder) {
  const ParamsPtr params(OSSL_PARAM_BLD_to_param(builder.get()));
  const KeyContextPtr context(EVP_PKEY_CTX_new_from_name(nullptr, type, nullptr));
  EVP_PKEY* key = nullptr;
  if (params != nullptr && context != nullptr && EVP_PKEY_fromdata_init(context.get()) == 1) {
    EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_PUBLIC_KEY, params.get());
  }
  return KeyPtr(key);
}

KeyPtr makeRsa(const std::string& modulus, const std::string& exponent) {
  const ParamBuilderPtr builder(OSSL_PARAM_BLD_new());
  const NumberPtr n = numberOf(modulus);
  const NumberPtr e = numberOf(exponent);
  if (builder == nullptr || n == nullptr || e == nullptr) return {};
  OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_N, n.get());
  OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_E, e.get());
  return keyOf("RSA", builder);
}

KeyPtr makeCurve(const Curve& curve, const std::string& point) {
  const ParamBuilderPtr builder(OSSL_PARAM_BLD_new());
  if (builder == nullptr) return {};
  OSSL_PARAM_BLD_push_utf8_string(builder.get(), OSSL_PKEY_PARAM_GROUP_NAME, curve.group, 0);
  OSSL_PARAM_BLD_push_octet_string(builder.get(), OSSL_PKEY_PARAM_PUB_KEY, point.data(),
                                   point.size());
  return keyOf("EC", builder);
}

#else

KeyPtr makeRsa(const std::string& modulus, const std::string& exponent) {
  RSA* rsa = RSA_new();
  KeyPtr key(EVP_PKEY_new());
  NumberPtr n = numberOf(modulus);
  NumberPtr e = numberOf(exponent);
  if (rsa == nullptr || RSA_set0_key(rsa, n.get(), e.get(), nullptr) != 1) {
    RSA_free(rsa);
    return {};
  }
  (void)n.release();  // the key owns them now
  (void)e.release();
  if (key == nullptr || EVP_PKEY_assign_RSA(key.get(), rsa) != 1) {
    RSA_free(rsa);
    return {};
  }
  return key;
}

KeyPtr makeCurve(const Curve& curve, const std::string& point) {
  EC_KEY* ec = EC_KEY_new_by_curve_name(curve.nid);
  KeyPtr key(EVP_PKEY_new());
  if (ec == nullptr || key == nullptr ||
      EC_KEY_oct2key(ec, bytesOf(point), point.size(), nullptr) != 1 ||
      EVP_PKEY_assign_EC_KEY(key.get(), ec) != 1) {
    EC_KEY_free(ec);
    return {};
  }
  return key;
}

#endif

}  // namespace

PublicKey::PublicKey(std::string_view info) : identity_(sha256Of(info)) {
  try {
    DerReader parts(derContent(info, DerReader::kSequence));
    DerReader algorithm(parts.content(DerReader::kSequence));
    const std::string_view bits = derWholeBytes(parts.content(DerReader::kBitString));
    parts.expectEnd();
    const std::string_view type = algorithm.content(DerReader::kOid);
    if (type == kRsa) {
      expectNoParameters(algorithm);
      readRsa(bits);
    } else if (type == kEllipticCurve) {
      readCurve(algorithm.content(DerReader::kOid), bits);
    } else if (type == kEd25519 || type == kEd448) {
      kind_ = type == kEd25519 ? Kind::ed25519 : Kind::ed448;
      name_ = type == kEd25519 ? "Ed25519" : "Ed448";
      bits_ = type == kEd25519 ? 256 : 456;
      material_ = bits;
    }
    algorithm.expectEnd();
  } catch (const DerError&) {
    kind_ = Kind::other;
    name_ = "unknown";
    bits_ = 0;
  }
}

void PublicKey::readRsa(std::string_view bits) {
  DerReader numbers(derContent(bits, DerReader::kSequence));
  const std::string_view modulus = magnitudeOf(numbers.content(DerReader::kInteger));
  const std::string_view exponent = magnitudeOf(numbers.content(DerReader::kInteger));
  numbers.expectEnd();
  exponentBits_ = bitsOf(exponent);
  // Longer ones only cost, and an even one or 1 is none.
  constexpr unsigned kMaxExponentBits = 64;
  const bool isOdd = (static_cast<unsigned char>(exponent.back()) & 1U) != 0;
  if (exponentBits_ > kMaxExponentBits || exponentBits_ < 2 || !isOdd) return;
  bits_ = bitsOf(modulus);
  material_ = modulus;
  exponent_ = exponent;
  name_ = "RSA";
  kind_ = Kind::rsa;
}

void PublicKey::readCurve(std::string_view parameters, std::string_view bits) {
  for (const Curve& curve : kCurves) {
    if (curve.oid != parameters) continue;
    bits_ = curve.bits;
    group_ = curve.group;
    name_ = curve.name;
    material_ = bits;
    kind_ = Kind::ellipticCurve;
  }
}

bool PublicKey::isStrong() const {
  constexpr unsigned kMinRsaBits = 2048;
  constexpr unsigned kMaxRsaBits = 16384;
  if (kind_ == Kind::rsa) return bits_ >= kMinRsaBits && bits_ <= kMaxRsaBits;
  return kind_ != Kind::other;  // all curves of the table are
}

std::string PublicKey::text() const {
  return kind_ == Kind::rsa ? "RSA " + std::to_string(bits_) : name_;
}

std::int64_t PublicKey::checkCost() const {
  switch (kind_) {
    case Kind::rsa: {
      // Squarings of the modulus, one a bit of the exponent; 18 us for 2048 bits and 65537.
      constexpr std::int64_t kPerSquare = 4000;
      const auto square = static_cast<std::int64_t>(bits_) * bits_;
      return 2000 + square * exponentBits_ / kPerSquare;
    }
    case Kind::ellipticCurve:
      return curveNamed(group_)->checkCost;
    case Kind::ed25519:
      return 150'000;
    case Kind::ed448:
      return 600'000;
    case Kind::other:
      break;
  }
  return 1000;
}

void PublicKey::make() const {
  ERR_clear_error();
  switch (kind_) {
    case Kind::rsa:
      key_ = makeRsa(material_, exponent_);
      break;
    case Kind::ellipticCurve:
      key_ = makeCurve(*curveNamed(group_), material_);
      break;
    case Kind::ed25519:
    case Kind::ed448:
      key_.reset(
          EVP_PKEY_new_raw_public_key(kind_ == Kind::ed25519 ? EVP_PKEY_ED25519 : EVP_PKEY_ED448,
                                      nullptr, bytesOf(material_), material_.size()));
      break;
    case Kind::other:
      break;
  }
  const bool signsDigests = kind_ == Kind::rsa || kind_ == Kind::ellipticCurve;
  if (key_ != nullptr && signsDigests) {
    verification_.reset(EVP_PKEY_CTX_new(key_.get(), nullptr));
    const bool ready = verification_ != nullptr && EVP_PKEY_verify_init(verification_.get()) == 1 &&
                       EVP_PKEY_CTX_set_signature_md(verification_.get(), sha256()) == 1;
    if (!ready) verification_.reset();
  }
  throwIfOutOfMemory();
}

EVP_PKEY* PublicKey::get() const {
  std::call_once(made_, [this] { make(); });
  return key_.get();
}

KeyContextPtr PublicKey::verification() const {
  if (get() == nullptr || verification_ == nullptr) return {};
  return KeyContextPtr(EVP_PKEY_CTX_dup(verification_.get()));
}
