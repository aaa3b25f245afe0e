#ifndef SERVICES_CERTMGR_PATH_REVOCATIONLIST_H
#define SERVICES_CERTMGR_PATH_REVOCATIONLIST_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "services/certmgr/path/DistinguishedName.h"
#include "services/certmgr/path/ParsedCertificate.h"
#include "services/certmgr/path/Signature.h"

// Which certificates a list is about, where it is not all of its issuer's.
struct IssuingPoint {
  std::string_view der;  // the extension's value: the same for two lists of the same scope
  bool hasName = false;
  std::vector<GeneralName> names;
  std::string_view relativeName;  // a RelativeDistinguishedName's content, below the list's issuer
  bool onlyUserCertificates = false;
  bool onlyCaCertificates = false;
  bool onlyAttributeCertificates = false;
  bool isIndirect = false;  // may hold certificates of other issuers
};

// What a list says about one serial number.
struct RevocationEntry {
  static constexpr unsigned kHold = 6;
  static constexpr unsigned kRemoveFromList = 8;

  std::optional<std::int64_t> date;        // nothing: it is no time
  std::optional<unsigned> reason;          // as numbered in lists; nothing: not given
  std::vector<DistinguishedName> issuers;  // of the certificate; empty: the list's issuer
};

// A revocation list, read once and never changed, so any number of threads may share one. What
// points into bytes points into der().
//
// Lists are long: of an entry no more is kept than where it is.
class RevocationList {
 public:
  // Throws DerError when the bytes are not exactly one revocation list.
  static std::shared_ptr<const RevocationList> parse(std::string der);

  std::string der;
  std::string fingerprint;  // SHA-256, 32 bytes
  DistinguishedName issuer;
  std::string digest;  // of what is signed
  SignedBytes signedBytes;
  std::optional<std::int64_t> thisUpdate;  // seconds since 1970; nothing: it is no time
  std::optional<std::int64_t> nextUpdate;  // the last second

  std::optional<std::string_view> number;      // INTEGER contents, not negative
  std::optional<std::string_view> baseNumber;  // makes it a list of changes to that one
  std::optional<IssuingPoint> issuingPoint;
  std::vector<std::string> notUnderstood;  // why it proves nothing, for people

  std::size_t entryCount() const { return entries_.size(); }
  // All entries of that serial number (an INTEGER's content), in the order of the list.
  std::vector<RevocationEntry> find(std::string_view serial) const;

 private:
  struct Place {
    std::uint32_t entry;         // offset of the entry's element in `der`
    std::uint32_t issuer;        // of the GeneralNames element that names the issuer; 0: none
    std::uint16_t serial;        // offset of the serial number in the entry, superfluous bytes
    std::uint16_t serialLength;  // left out
  };
  class Reader;

  std::string_view serialOf(const Place& place) const;

  std::vector<Place> entries_;  // by serial number, then by place
};

using RevocationListPtr = std::shared_ptr<const RevocationList>;

// Whether one INTEGER, both given by their contents and not negative, is below another.
bool isLowerNumber(std::string_view a, std::string_view b);

#endif
