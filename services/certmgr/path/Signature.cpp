#include "services/certmgr/path/Signature.h"

#include <algorithm>
#include <optional>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/Digest.h"

namespace {

using namespace std::string_view_literals;
using Kind = PublicKey::Kind;

constexpr auto kPss = "\x2a\x86\x48\x86\xf7\x0d\x01\x01\x0a"sv;
constexpr auto kMaskGeneration1 = "\x2a\x86\x48\x86\xf7\x0d\x01\x01\x08"sv;

struct Algorithm {
  std::string_view oid;
  const char* name;
  Kind kind;
  const EVP_MD* (*digest)();  // NULL: the key's kind has its own
};
constexpr Algorithm kAlgorithms[] = {
    {"\x2a\x86\x48\x86\xf7\x0d\x01\x01\x0b"sv, "sha256WithRSAEncryption", Kind::rsa, sha256},
    {"\x2a\x86\x48\x86\xf7\x0d\x01\x01\x0c"sv, "sha384WithRSAEncryption", Kind::rsa, sha384},
    {"\x2a\x86\x48\x86\xf7\x0d\x01\x01\x0d"sv, "sha512WithRSAEncryption", Kind::rsa, sha512},
    {"\x2a\x86\x48\x86\xf7\x0d\x01\x01\x0e"sv, "sha224WithRSAEncryption", Kind::rsa, sha224},
    {"\x2a\x86\x48\x86\xf7\x0d\x01\x01\x05"sv, "sha1WithRSAEncryption", Kind::rsa, sha1},
    {kPss, "RSASSA-PSS", Kind::rsa, nullptr},
    {"\x2a\x86\x48\xce\x3d\x04\x03\x02"sv, "ecdsa-with-SHA256", Kind::ellipticCurve, sha256},
    {"\x2a\x86\x48\xce\x3d\x04\x03\x03"sv, "ecdsa-with-SHA384", Kind::ellipticCurve, sha384},
    {"\x2a\x86\x48\xce\x3d\x04\x03\x04"sv, "ecdsa-with-SHA512", Kind::ellipticCurve, sha512},
    {"\x2a\x86\x48\xce\x3d\x04\x03\x01"sv, "ecdsa-with-SHA224", Kind::ellipticCurve, sha224},
    {"\x2a\x86\x48\xce\x3d\x04\x01"sv, "ecdsa-with-SHA1", Kind::ellipticCurve, sha1},
    {"\x2b\x65\x70"sv, "Ed25519", Kind::ed25519, nullptr},
    {"\x2b\x65\x71"sv, "Ed448", Kind::ed448, nullptr},
};

struct NamedDigest {
  std::string_view oid;
  const EVP_MD* (*digest)();
};
constexpr NamedDigest kDigests[] = {
    {"\x60\x86\x48\x01\x65\x03\x04\x02\x01"sv, sha256},
    {"\x60\x86\x48\x01\x65\x03\x04\x02\x02"sv, sha384},
    {"\x60\x86\x48\x01\x65\x03\x04\x02\x03"sv, sha512},
    {"\x60\x86\x48\x01\x65\x03\x04\x02\x04"sv, sha224},
    {"\x2b\x0e\x03\x02\x1a"sv, sha1},
};

// How one signature is to be checked.
struct Scheme {
  const EVP_MD* digest = nullptr;
  const EVP_MD* maskDigest = nullptr;  // set for PSS
  int saltLength = 0;
  bool isWeak = false;
};

const Algorithm* algorithmNamed(std::string_view oid) {
  const auto* const found =
      std::find_if(std::begin(kAlgorithms), std::end(kAlgorithms),
                   [&](const Algorithm& algorithm) { return algorithm.oid == oid; });
  return found == std::end(kAlgorithms) ? nullptr : found;
}

const EVP_MD* (*digestNamed(std::string_view identifier))() {
  DerReader parts(derContent(identifier, DerReader::kSequence));
  const std::string_view oid = parts.content(DerReader::kOid);
  expectNoParameters(parts);
  for (const NamedDigest& named : kDigests) {
    if (named.oid == oid) return named.digest;
  }
  throw DerError("an unknown digest");
}

// RSASSA-PSS-params, whose members all have defaults that use SHA-1.
Scheme pssScheme(std::string_view parameters) {
  DerReader members(derContent(parameters, DerReader::kSequence));
  const auto optional = [&](unsigned number) -> std::optional<std::string_view> {
    const unsigned char tag = DerReader::context(number, true);
    if (!members.nextIs(tag)) return {};
    return members.content(tag);
  };
  const EVP_MD* (*digest)() = sha1;
  const EVP_MD* (*maskDigest)() = sha1;
  Scheme scheme;
  scheme.saltLength = 20;
  if (const auto hash = optional(0)) digest = digestNamed(*hash);
  if (const auto mask = optional(1)) {
    DerReader parts(derContent(*mask, DerReader::kSequence));
    if (parts.content(DerReader::kOid) != kMaskGeneration1) throw DerError("an unknown mask");
    maskDigest = digestNamed(parts.take().whole);
    parts.expectEnd();
  }
  constexpr unsigned kMaxSalt = 1024;
  if (const auto salt = optional(2)) {
    scheme.saltLength =
        static_cast<int>(derNumber(derContent(*salt, DerReader::kInteger), kMaxSalt));
  }
  if (const auto trailer = optional(3)) {
    if (derNumber(derContent(*trailer, DerReader::kInteger), 2) != 1) throw DerError("odd trailer");
  }
  members.expectEnd();
  scheme.digest = digest();
  scheme.maskDigest = maskDigest();
  if (scheme.digest == nullptr || scheme.maskDigest == nullptr) throw DerError("no such digest");
  scheme.isWeak = digest == sha1 || maskDigest == sha1;
  return scheme;
}

// Nothing when it is not understood, or is none for such a key.
std::optional<Scheme> schemeOf(std::string_view identifier, Kind kind) {
  DerReader parts(derContent(identifier, DerReader::kSequence));
  const Algorithm* algorithm = algorithmNamed(parts.content(DerReader::kOid));
  if (algorithm == nullptr || algorithm->kind != kind) return {};
  if (algorithm->oid == kPss) {
    const std::string_view parameters = parts.take().whole;
    parts.expectEnd();
    return pssScheme(parameters);
  }
  expectNoParameters(parts);
  Scheme scheme;
  scheme.digest = algorithm->digest == nullptr ? nullptr : algorithm->digest();
  scheme.isWeak = algorithm->digest == sha1;
  if (algorithm->digest != nullptr && scheme.digest == nullptr) return {};
  return scheme;
}

const unsigned char* bytesOf(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

using DigestContextPtr = OpenSslOwner<EVP_MD_CTX, EVP_MD_CTX_free>;

bool setScheme(EVP_PKEY_CTX* context, const Scheme& scheme) {
  if (scheme.digest != sha256() && EVP_PKEY_CTX_set_signature_md(context, scheme.digest) != 1) {
    return false;
  }
  if (scheme.maskDigest == nullptr) return true;
  return EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PSS_PADDING) == 1 &&
         EVP_PKEY_CTX_set_rsa_mgf1_md(context, scheme.maskDigest) == 1 &&
         EVP_PKEY_CTX_set_rsa_pss_saltlen(context, scheme.saltLength) == 1;
}

// Edwards curves sign the bytes themselves.
bool verifiesWhole(const SignedBytes& bytes, EVP_PKEY* key) {
  const DigestContextPtr context(EVP_MD_CTX_new());
  return context != nullptr &&
         EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, key) == 1 &&
         EVP_DigestVerify(context.get(), bytesOf(bytes.signature), bytes.signature.size(),
                          bytesOf(bytes.content), bytes.content.size()) == 1;
}

std::string digestBy(const EVP_MD* type, std::string_view content) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned length = 0;
  const bool made = EVP_Digest(content.data(), content.size(), digest, &length, type, nullptr) == 1;
  return made ? std::string(reinterpret_cast<const char*>(digest), length) : std::string();
}

// Digest and signature apart: EVP_DigestVerify takes 2 us longer for looking things up.
bool verifies(const SignedBytes& bytes, const Scheme& scheme, const PublicKey& key) {
  if (scheme.digest == nullptr) return verifiesWhole(bytes, key.get());
  const std::string digest =
      bytes.digest.empty() ? digestBy(scheme.digest, bytes.content) : std::string(bytes.digest);
  const KeyContextPtr context = key.verification();
  return context != nullptr && !digest.empty() && setScheme(context.get(), scheme) &&
         EVP_PKEY_verify(context.get(), bytesOf(bytes.signature), bytes.signature.size(),
                         bytesOf(digest), digest.size()) == 1;
}

}  // namespace

std::string digestOf(const SignedBytes& bytes) {
  try {
    DerReader parts(derContent(bytes.algorithm, DerReader::kSequence));
    const Algorithm* algorithm = algorithmNamed(parts.content(DerReader::kOid));
    if (algorithm == nullptr) return {};
    const std::optional<Scheme> scheme = schemeOf(bytes.algorithm, algorithm->kind);
    if (!scheme || scheme->digest == nullptr) return {};
    return digestBy(scheme->digest, bytes.content);
  } catch (const DerError&) {
    return {};
  }
}

std::int64_t checkCost(const SignedBytes& bytes, const PublicKey& key) {
  constexpr std::int64_t kByteCost = 4;
  const std::size_t digested = bytes.digest.empty() ? bytes.content.size() : 0;
  return key.checkCost() + kByteCost * static_cast<std::int64_t>(digested);
}

SignatureState checkSignature(const SignedBytes& bytes, const PublicKey& key) {
  if (bytes.algorithm != bytes.innerAlgorithm) return SignatureState::inconsistent;
  try {
    const std::optional<Scheme> scheme = schemeOf(bytes.algorithm, key.kind());
    if (!scheme || key.get() == nullptr) return SignatureState::unsupported;
    ERR_clear_error();
    const bool good = verifies(bytes, *scheme, key);
    throwIfOutOfMemory();
    if (!good) return SignatureState::wrong;
    return scheme->isWeak ? SignatureState::weak : SignatureState::good;
  } catch (const DerError&) {
    return SignatureState::unsupported;
  }
}

std::string algorithmText(std::string_view algorithm) {
  try {
    DerReader parts(derContent(algorithm, DerReader::kSequence));
    const std::string_view oid = parts.content(DerReader::kOid);
    const Algorithm* known = algorithmNamed(oid);
    return known != nullptr ? known->name : oidText(oid);
  } catch (const DerError&) {
    return "unreadable";
  }
}
