#ifndef TRUSTLIB_CERTIFICATE_WARNINGS_H
#define TRUSTLIB_CERTIFICATE_WARNINGS_H

#include <cstring>
#include <list>
#include <string>

// The warnings of a verdict: a 64-bit set, one bit each, and their names on the wire.
// Everything stands in this header, so that services can share it without linking the
// library.
struct CertificateWarnings {
  enum Flag : unsigned long long {
    BC_NOT_CRITICAL = 0x1,        // basic constraints not marked critical
    BC_PATH_LENGTH = 0x2,         // path-length constraint exceeded
    UNKNOWN_CRITICAL_EXT = 0x4,   // a critical extension nobody here understands
    CERT_EXPIRY = 0x8,            // expired or not yet valid
    KU_MISSING = 0x10,            // key-usage extension missing
    KU_INVALID = 0x20,            // key usage does not allow the use
    BC_MISSING = 0x40,            // basic-constraints extension missing
    BC_NOT_CA = 0x80,             // an issuer is not a certificate authority
    NO_TRUSTED = 0x100,           // no trusted root
    INVALID_SIGNATURE = 0x200,    // a signature does not verify
    REVOKED = 0x400,              // a certificate is revoked
    NAME_CONSTRAINTS = 0x800,     // name constraints violated
    INVALID_ISSUER = 0x1000,      // issuer and subject do not fit together
    DOMAINNAME_MISMATCH = 0x2000  // the domain matches none of the certificate's names
  };

  struct Name {
    Flag flag;
    const char* text;
  };

  enum : int {
    nameCount = 14,
    // The last name is the library's own finding: a service cannot report it.
    serviceNameCount = 13
  };

  // All names in ascending bit order, `nameCount` of them.
  static const Name* names() {
    static const Name table[nameCount] = {
        {BC_NOT_CRITICAL, "BC_NOT_CRITICAL"},
        {BC_PATH_LENGTH, "BC_PATH_LENGTH"},
        {UNKNOWN_CRITICAL_EXT, "UNKNOWN_CRITICAL_EXT"},
        {CERT_EXPIRY, "CERT_EXPIRY"},
        {KU_MISSING, "KU_MISSING"},
        {KU_INVALID, "KU_INVALID"},
        {BC_MISSING, "BC_MISSING"},
        {BC_NOT_CA, "BC_NOT_CA"},
        {NO_TRUSTED, "NO_TRUSTED"},
        {INVALID_SIGNATURE, "INVALID_SIGNATURE"},
        {REVOKED, "REVOKED"},
        {NAME_CONSTRAINTS, "NAME_CONSTRAINTS"},
        {INVALID_ISSUER, "INVALID_ISSUER"},
        {DOMAINNAME_MISMATCH, "DOMAINNAME_MISMATCH"},
    };
    return table;
  }

  // The bit of a name that a service reported; 0 for any other text, case included.
  static unsigned long long fromServiceName(const char* name) {
    for (int i = 0; i < serviceNameCount; ++i) {
      if (strcmp(name, names()[i].text) == 0) {
        return names()[i].flag;
      }
    }
    return 0;
  }

  // Appends the names of the set's bits to `out`, in ascending bit order. Bits without a
  // name add nothing.
  static void appendNames(unsigned long long warnings, std::list<std::string>* out) {
    for (int i = 0; i < nameCount; ++i) {
      if ((warnings & names()[i].flag) != 0) {
        out->push_back(names()[i].text);
      }
    }
  }
};

#endif
