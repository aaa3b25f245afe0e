#include "tools/trustctl/blacklist/SerialNumber.h"

#include <algorithm>
#include <iterator>
#include <new>

#include <openssl/bn.h>

#include "services/common/CertificateNames.h"
#include "services/common/OpenSslOwners.h"
#include "trustlib/CertificateUtilities.h"

namespace {

using NumberPtr = OpenSslOwner<BIGNUM, BN_free>;

// Real ones have at most 20 bytes.
constexpr std::size_t mostDigits = 256;

bool isHexDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool takePrefix(std::string_view prefix, std::string_view* text) {
  const bool isThere = text->substr(0, prefix.size()) == prefix;
  text->remove_prefix(isThere ? prefix.size() : 0);
  return isThere;
}

// The digits alone; empty where something else is among them.
std::string digitsOf(std::string_view typed) {
  std::string digits;
  std::copy_if(typed.begin(), typed.end(), std::back_inserter(digits),
               [](char c) { return c != ':' && c != ' '; });
  const bool isNumber =
      digits.size() <= mostDigits && std::all_of(digits.begin(), digits.end(), isHexDigit);
  return isNumber ? digits : std::string();
}

}  // namespace

std::string serialNumberForLookup(const X509* certificate) {
  std::string serial;
  CertificateUtilities::normalizeSerialNumber(serialNumberOf(certificate).c_str(), &serial);
  return serial;
}

std::optional<std::string> parseSerialNumber(std::string_view typed) {
  const bool isNegative = takePrefix("-", &typed);
  if (!takePrefix("0x", &typed)) {
    takePrefix("0X", &typed);
  }
  const std::string digits = digitsOf(typed);
  if (digits.empty()) {
    return std::nullopt;
  }
  BIGNUM* read = nullptr;
  BN_hex2bn(&read, digits.c_str());
  const NumberPtr number(read);
  if (number == nullptr) {
    throw std::bad_alloc();
  }
  BN_set_negative(number.get(), isNegative ? 1 : 0);
  // It goes the way of a certificate's number, so that the two cannot come out differently.
  const X509Ptr certificate(X509_new());
  if (certificate == nullptr ||
      BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate.get())) == nullptr) {
    throw std::bad_alloc();
  }
  return serialNumberForLookup(certificate.get());
}
