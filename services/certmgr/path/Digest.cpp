#include "services/certmgr/path/Digest.h"

#include <new>
#include <stdexcept>

#include <openssl/err.h>
#include <openssl/opensslv.h>

namespace {

// Kept for the process: there is no moment at which nobody needs it any more.
const EVP_MD* lookUp([[maybe_unused]] const char* name,
                     [[maybe_unused]] const EVP_MD* (*builtIn)()) {
#if OPENSSL_VERSION_NUMBER >= 0x30000000L
  return EVP_MD_fetch(nullptr, name, nullptr);
#else
  return builtIn();
#endif
}

}  // namespace

const EVP_MD* sha256() {
  static const EVP_MD* const md = lookUp("SHA256", EVP_sha256);
  return md;
}

const EVP_MD* sha384() {
  static const EVP_MD* const md = lookUp("SHA384", EVP_sha384);
  return md;
}

const EVP_MD* sha512() {
  static const EVP_MD* const md = lookUp("SHA512", EVP_sha512);
  return md;
}

const EVP_MD* sha224() {
  static const EVP_MD* const md = lookUp("SHA224", EVP_sha224);
  return md;
}

const EVP_MD* sha1() {
  static const EVP_MD* const md = lookUp("SHA1", EVP_sha1);
  return md;
}

std::string sha256Of(std::string_view bytes) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned length = 0;
  if (EVP_Digest(bytes.data(), bytes.size(), digest, &length, sha256(), nullptr) != 1) {
    throw std::runtime_error("OpenSSL cannot compute a SHA-256");
  }
  return {reinterpret_cast<const char*>(digest), length};
}

void throwIfOutOfMemory() {
  const unsigned long error = ERR_peek_last_error();
  ERR_clear_error();
  if (error != 0 && ERR_GET_REASON(error) == ERR_R_MALLOC_FAILURE) throw std::bad_alloc();
}

std::string hexOf(std::string_view bytes) {
  std::string hex;
  hex.reserve(2 * bytes.size());
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    hex += "0123456789abcdef"[byte >> 4];
    hex += "0123456789abcdef"[byte & 0xf];
  }
  return hex;
}
