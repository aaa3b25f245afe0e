#include "fuzz/FixedKey.h"

#include <array>
#include <optional>

#include <openssl/evp.h>

#include "fuzz/Property.h"
#include "services/certmgr/path/DerReader.h"

namespace {

using namespace std::string_view_literals;

constexpr auto kEd25519Identifier = "\x30\x05\x06\x03\x2b\x65\x70"sv;
constexpr auto kSignatureHeader = "\x03\x41\x00"sv;  // a BIT STRING of 64 whole bytes
constexpr std::size_t kSignatureBytes = 64;

using DigestContextPtr = OpenSslOwner<EVP_MD_CTX, EVP_MD_CTX_free>;

std::string signatureOf(std::string_view bytes) {
  static const FixedKeyPtr key = makeFixedKey();
  const DigestContextPtr context(EVP_MD_CTX_new());
  std::array<unsigned char, kSignatureBytes> signature{};
  std::size_t size = signature.size();
  const bool isSigned =
      EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, key.get()) == 1 &&
      EVP_DigestSign(context.get(), signature.data(), &size,
                     reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()) == 1;
  require(isSigned, "the fixed key signs everything");
  return {signature.begin(), signature.end()};
}

// Where the 64 bytes of its signature start.
std::optional<std::size_t> placeOfSignature(std::string_view der, std::string_view& content) {
  try {
    DerReader parts(derContent(der, DerReader::kSequence));
    content = parts.take(DerReader::kSequence).whole;
    const bool isKind = parts.take(DerReader::kSequence).whole == kEd25519Identifier;
    const std::string_view signature = parts.take(DerReader::kBitString).whole;
    parts.expectEnd();
    const bool isSize = signature.size() == kSignatureHeader.size() + kSignatureBytes;
    if (isKind && isSize && signature.starts_with(kSignatureHeader)) {
      return der.size() - kSignatureBytes;
    }
  } catch (const DerError&) {
    // No certificate, and left to the fuzzer as it is.
  }
  return {};
}

}  // namespace

FixedKeyPtr makeFixedKey() {
  std::array<unsigned char, 32> bytes{};
  bytes.fill('f');
  return FixedKeyPtr(
      EVP_PKEY_new_raw_private_key(EVP_PKEY_ED25519, nullptr, bytes.data(), bytes.size()));
}

std::string signedAnew(std::string_view der) {
  std::string changed(der);
  std::string_view content;
  const auto place = placeOfSignature(der, content);
  if (place) changed.replace(*place, kSignatureBytes, signatureOf(content));
  return changed;
}
