#ifndef TOOLS_TRUSTCTL_BLACKLIST_SERIALNUMBER_H
#define TOOLS_TRUSTCTL_BLACKLIST_SERIALNUMBER_H

#include <optional>
#include <string>
#include <string_view>

#include <openssl/x509.h>

// Serial numbers in the form in which the library compares them: lower-case hexadecimal in whole
// bytes, no more of them than the number needs; a negative number as its two's complement.

// The serial number of a certificate, as a verdict on it looks it up.
std::string serialNumberForLookup(const X509* certificate);

// A serial number as people have it: hexadecimal in any letter case, with leading zeros or
// without, with ":" or spaces between digits, "0x" or "-" in front. Nothing for any other text.
std::optional<std::string> parseSerialNumber(std::string_view typed);

#endif
