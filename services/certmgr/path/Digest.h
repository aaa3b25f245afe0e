#ifndef SERVICES_CERTMGR_PATH_DIGEST_H
#define SERVICES_CERTMGR_PATH_DIGEST_H

#include <string>
#include <string_view>

#include <openssl/evp.h>

// OpenSSL 3 looks an algorithm up with each use of EVP_sha256() and its like. These are looked
// up once a process. NULL for a digest this OpenSSL does not have.
const EVP_MD* sha256();
const EVP_MD* sha384();
const EVP_MD* sha512();
const EVP_MD* sha224();
const EVP_MD* sha1();

// The SHA-256 of the bytes, 32 bytes. Throws std::runtime_error when OpenSSL has no memory.
std::string sha256Of(std::string_view bytes);

// Throws std::bad_alloc when that is what OpenSSL last failed for, and clears its errors.
void throwIfOutOfMemory();

// As lower-case hexadecimal digits.
std::string hexOf(std::string_view bytes);

#endif
