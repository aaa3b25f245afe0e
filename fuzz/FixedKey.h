#ifndef FUZZ_FIXEDKEY_H
#define FUZZ_FIXEDKEY_H

#include <string>
#include <string_view>

#include "services/common/OpenSslOwners.h"

// A private key that everybody knows, and that makes one signature only for the same bytes: with
// it a fuzzer can sign again what it changed, and gets past the check of signatures.
using FixedKeyPtr = OpenSslOwner<EVP_PKEY, EVP_PKEY_free>;
FixedKeyPtr makeFixedKey();

// The same certificate or revocation list, signed anew, if it bears a signature of that kind of
// key; otherwise as it was.
std::string signedAnew(std::string_view der);

#endif
