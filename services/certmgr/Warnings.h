#ifndef SERVICES_CERTMGR_WARNINGS_H
#define SERVICES_CERTMGR_WARNINGS_H

#include <array>
#include <cstdint>

// A set of findings, one bit each; an answer names them in ascending bit order.
using Warnings = std::uint64_t;

// The bits, inside a struct because OpenSSL has a type NAME_CONSTRAINTS.
struct Warning {
  static constexpr Warnings BC_NOT_CRITICAL = 0x1;
  static constexpr Warnings BC_PATH_LENGTH = 0x2;
  static constexpr Warnings UNKNOWN_CRITICAL_EXT = 0x4;
  static constexpr Warnings CERT_EXPIRY = 0x8;
  static constexpr Warnings KU_MISSING = 0x10;
  static constexpr Warnings KU_INVALID = 0x20;
  static constexpr Warnings BC_MISSING = 0x40;
  static constexpr Warnings BC_NOT_CA = 0x80;
  static constexpr Warnings NO_TRUSTED = 0x100;
  static constexpr Warnings INVALID_SIGNATURE = 0x200;
  static constexpr Warnings REVOKED = 0x400;
  static constexpr Warnings NAME_CONSTRAINTS = 0x800;
  static constexpr Warnings INVALID_ISSUER = 0x1000;
};

// The names on the wire; the index is the number of the bit.
inline constexpr std::array<const char*, 13> kWarningNames = {
    "BC_NOT_CRITICAL",   "BC_PATH_LENGTH", "UNKNOWN_CRITICAL_EXT",
    "CERT_EXPIRY",       "KU_MISSING",     "KU_INVALID",
    "BC_MISSING",        "BC_NOT_CA",      "NO_TRUSTED",
    "INVALID_SIGNATURE", "REVOKED",        "NAME_CONSTRAINTS",
    "INVALID_ISSUER"};

#endif
