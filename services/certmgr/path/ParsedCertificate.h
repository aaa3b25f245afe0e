#ifndef SERVICES_CERTMGR_PATH_PARSEDCERTIFICATE_H
#define SERVICES_CERTMGR_PATH_PARSEDCERTIFICATE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "services/certmgr/path/DistinguishedName.h"
#include "services/certmgr/path/PublicKey.h"
#include "services/certmgr/path/Signature.h"

// One alternative name, or the base of a name constraint.
struct GeneralName {
  enum class Kind { other, email, dns, x400, directory, ediParty, uri, address, registeredId };
  Kind kind = Kind::other;
  std::string_view bytes;  // the content: text, an address's octets, for `directory` the Name
};

struct NameConstraints {
  struct Subtree {
    GeneralName base;
    bool hasDistances = false;  // a minimum other than 0, or a maximum
  };
  std::vector<Subtree> permitted;
  std::vector<Subtree> excluded;
};

struct AuthorityKey {
  std::optional<std::string_view> identifier;
  std::vector<DistinguishedName> issuers;  // of the authority's certificate, with its
  std::string_view serial;                 // serial number (an INTEGER's content); or none
};

// Policies are named by the contents of their object identifiers.
struct Policies {
  std::optional<std::vector<std::string_view>> asserted;  // nothing: no such extension
  std::vector<std::pair<std::string_view, std::string_view>> mappings;  // issuer's, subject's
  std::optional<unsigned> requireExplicit;
  std::optional<unsigned> inhibitMapping;
  std::optional<unsigned> inhibitAny;
};

struct DistributionPoint {
  std::vector<GeneralName> names;
  std::string_view relativeName;  // a RelativeDistinguishedName's content, below the issuer
  std::vector<DistinguishedName> issuers;  // of the list, where it is not the certificate's
};

// Everything about a certificate that judging it takes, read once and never changed, so any
// number of threads may share one. What points into bytes points into der().
//
// What is no certificate at all is refused; what is odd inside one is noted, and judged later.
struct ParsedCertificate {
  // Throws DerError when the bytes are not exactly one certificate.
  static std::shared_ptr<const ParsedCertificate> parse(std::string der);
  // The same for who knows the fingerprint already.
  static std::shared_ptr<const ParsedCertificate> parse(std::string der, std::string fingerprint);

  std::string der;
  std::string fingerprint;  // SHA-256, 32 bytes

  unsigned version = 1;
  std::string_view serial;  // an INTEGER's content
  DistinguishedName subject;
  DistinguishedName issuer;
  std::optional<std::int64_t> notBefore;  // seconds since 1970; nothing: it is no time
  std::optional<std::int64_t> notAfter;   // the last second
  std::unique_ptr<const PublicKey> key;
  SignedBytes signedBytes;

  // Extensions; absent ones leave their defaults.
  std::optional<std::string_view> subjectKeyId;
  std::optional<AuthorityKey> authorityKey;
  bool hasBasicConstraints = false;
  bool basicConstraintsCritical = false;
  bool isCa = false;
  std::optional<unsigned> pathLength;
  std::optional<unsigned> keyUsage;  // bit n as 1 << n: kDigitalSignature ...
  std::optional<std::vector<std::string_view>> extendedKeyUsage;
  bool hasAltNames = false;
  bool altNamesUnreadable = false;  // there are some, but not even one is kept here
  std::vector<GeneralName> altNames;
  std::optional<NameConstraints> nameConstraints;
  Policies policies;
  std::vector<DistributionPoint> distributionPoints;
  std::vector<std::string> unknownCritical;  // object identifiers as text
  std::vector<std::string> unreadable;       // what could not be read, for people

  static constexpr unsigned kDigitalSignature = 1U << 0;
  static constexpr unsigned kKeyEncipherment = 1U << 2;
  static constexpr unsigned kKeyAgreement = 1U << 4;
  static constexpr unsigned kKeyCertSign = 1U << 5;
  static constexpr unsigned kCrlSign = 1U << 6;

  bool isSelfIssued() const { return subject == issuer; }
  // About what it takes in memory, in bytes.
  std::size_t footprint() const;
};

using CertificatePtr = std::shared_ptr<const ParsedCertificate>;

#endif
