#include "services/certmgr/path/CertificateExtensions.h"

#include <algorithm>
#include <limits>
#include <set>

#include "services/certmgr/path/DerReader.h"

namespace {

using namespace std::string_view_literals;

constexpr unsigned kMostDistance = std::numeric_limits<unsigned>::max();
// Of what judging goes through again for each path; no honest certificate comes near.
constexpr std::size_t kMostListed = 256;

void expectFew(std::size_t count) {
  if (count > kMostListed) throw DerError("a list is too long");
}

GeneralName readGeneralName(const DerReader::Element& element) {
  using Kind = GeneralName::Kind;
  static constexpr Kind kKinds[] = {Kind::other, Kind::email,     Kind::dns,
                                    Kind::x400,  Kind::directory, Kind::ediParty,
                                    Kind::uri,   Kind::address,   Kind::registeredId};
  const unsigned number = element.tag & 0x1fU;
  if ((element.tag & 0xc0U) != 0x80U || number >= std::size(kKinds)) {
    throw DerError("a name is of no known kind");
  }
  GeneralName name{kKinds[number], element.content};
  const bool isConstructed = (element.tag & 0x20U) != 0;
  const bool mustBe = name.kind == Kind::other || name.kind == Kind::x400 ||
                      name.kind == Kind::directory || name.kind == Kind::ediParty;
  if (isConstructed != mustBe) throw DerError("a name is not in DER form");
  if (name.kind == Kind::directory) DistinguishedName::expect(name.bytes);
  return name;
}

std::vector<DistinguishedName> directoryNames(std::string_view generalNames) {
  std::vector<DistinguishedName> found;
  const std::vector<GeneralName> names = readGeneralNames(generalNames);
  expectFew(names.size());
  for (const GeneralName& name : names) {
    if (name.kind == GeneralName::Kind::directory) found.emplace_back(name.bytes);
  }
  return found;
}

std::optional<unsigned> takeDistance(DerReader& reader, unsigned number) {
  if (!reader.nextIs(DerReader::context(number))) return {};
  return derNumber(reader.content(DerReader::context(number)), kMostDistance);
}

void readBasicConstraints(std::string_view value, bool critical, ParsedCertificate& certificate) {
  DerReader parts(derContent(value, DerReader::kSequence));
  bool isCa = false;
  std::optional<unsigned> pathLength;
  if (parts.nextIs(DerReader::kBoolean)) isCa = derBoolean(parts.content(DerReader::kBoolean));
  if (parts.nextIs(DerReader::kInteger)) {
    pathLength = derNumber(parts.content(DerReader::kInteger), kMostDistance);
  }
  parts.expectEnd();
  certificate.hasBasicConstraints = true;
  certificate.basicConstraintsCritical = critical;
  certificate.isCa = isCa;
  certificate.pathLength = pathLength;
}

void readKeyUsage(std::string_view value, bool, ParsedCertificate& certificate) {
  const std::string_view bits = derBits(derContent(value, DerReader::kBitString));
  unsigned usage = 0;
  for (std::size_t i = 0; i < 8 * std::min<std::size_t>(bits.size(), 2); ++i) {
    const auto byte = static_cast<unsigned char>(bits[i / 8]);
    if ((byte >> (7 - i % 8) & 1U) != 0) usage |= 1U << i;
  }
  certificate.keyUsage = usage;
}

void readExtendedKeyUsage(std::string_view value, bool, ParsedCertificate& certificate) {
  std::vector<std::string_view> uses;
  for (DerReader parts(derContent(value, DerReader::kSequence)); !parts.atEnd();) {
    uses.push_back(parts.content(DerReader::kOid));
    expectFew(uses.size());
  }
  if (uses.empty()) throw DerError("a list is empty");
  certificate.extendedKeyUsage = std::move(uses);
}

void readAltNames(std::string_view value, bool, ParsedCertificate& certificate) {
  certificate.hasAltNames = true;
  certificate.altNamesUnreadable = true;
  certificate.altNames = readGeneralNames(derContent(value, DerReader::kSequence));
  if (certificate.altNames.empty()) throw DerError("a list is empty");
  certificate.altNamesUnreadable = false;
}

void readSubjectKeyId(std::string_view value, bool, ParsedCertificate& certificate) {
  certificate.subjectKeyId = derContent(value, DerReader::kOctetString);
}

void readAuthorityKey(std::string_view value, bool, ParsedCertificate& certificate) {
  DerReader parts(derContent(value, DerReader::kSequence));
  AuthorityKey key;
  if (parts.nextIs(DerReader::context(0))) key.identifier = parts.content(DerReader::context(0));
  if (parts.nextIs(DerReader::context(1, true))) {
    key.issuers = directoryNames(parts.content(DerReader::context(1, true)));
  }
  if (parts.nextIs(DerReader::context(2))) key.serial = parts.content(DerReader::context(2));
  parts.expectEnd();
  certificate.authorityKey = std::move(key);
}

std::vector<NameConstraints::Subtree> readSubtrees(std::string_view content) {
  std::vector<NameConstraints::Subtree> subtrees;
  for (DerReader list(content); !list.atEnd();) {
    DerReader parts(list.content(DerReader::kSequence));
    NameConstraints::Subtree subtree;
    subtree.base = readGeneralName(parts.take());
    const std::optional<unsigned> minimum = takeDistance(parts, 0);
    const std::optional<unsigned> maximum = takeDistance(parts, 1);
    subtree.hasDistances = minimum.value_or(0) != 0 || maximum.has_value();
    parts.expectEnd();
    subtrees.push_back(subtree);
  }
  if (subtrees.empty()) throw DerError("a list is empty");
  return subtrees;
}

void readNameConstraints(std::string_view value, bool, ParsedCertificate& certificate) {
  DerReader parts(derContent(value, DerReader::kSequence));
  NameConstraints constraints;
  const unsigned char permitted = DerReader::context(0, true);
  const unsigned char excluded = DerReader::context(1, true);
  if (parts.nextIs(permitted)) constraints.permitted = readSubtrees(parts.content(permitted));
  if (parts.nextIs(excluded)) constraints.excluded = readSubtrees(parts.content(excluded));
  parts.expectEnd();
  certificate.nameConstraints = std::move(constraints);
}

void readPolicies(std::string_view value, bool, ParsedCertificate& certificate) {
  std::vector<std::string_view> asserted;
  for (DerReader list(derContent(value, DerReader::kSequence)); !list.atEnd();) {
    DerReader parts(list.content(DerReader::kSequence));
    asserted.push_back(parts.content(DerReader::kOid));
    expectFew(asserted.size());
    if (!parts.atEnd()) parts.take(DerReader::kSequence);  // qualifiers, which decide nothing
    parts.expectEnd();
  }
  if (asserted.empty()) throw DerError("a list is empty");
  std::set<std::string_view> distinct(asserted.begin(), asserted.end());
  if (distinct.size() != asserted.size()) throw DerError("a policy is named twice");
  certificate.policies.asserted = std::move(asserted);
}

void readMappings(std::string_view value, bool, ParsedCertificate& certificate) {
  std::vector<std::pair<std::string_view, std::string_view>> mappings;
  for (DerReader list(derContent(value, DerReader::kSequence)); !list.atEnd();) {
    DerReader parts(list.content(DerReader::kSequence));
    const std::string_view issuers = parts.content(DerReader::kOid);
    const std::string_view subjects = parts.content(DerReader::kOid);
    parts.expectEnd();
    mappings.emplace_back(issuers, subjects);
    expectFew(mappings.size());
  }
  if (mappings.empty()) throw DerError("a list is empty");
  certificate.policies.mappings = std::move(mappings);
}

void readPolicyConstraints(std::string_view value, bool, ParsedCertificate& certificate) {
  DerReader parts(derContent(value, DerReader::kSequence));
  const std::optional<unsigned> requireExplicit = takeDistance(parts, 0);
  const std::optional<unsigned> inhibitMapping = takeDistance(parts, 1);
  parts.expectEnd();
  if (!requireExplicit && !inhibitMapping) throw DerError("constraints that constrain nothing");
  certificate.policies.requireExplicit = requireExplicit;
  certificate.policies.inhibitMapping = inhibitMapping;
}

void readInhibitAny(std::string_view value, bool, ParsedCertificate& certificate) {
  certificate.policies.inhibitAny =
      derNumber(derContent(value, DerReader::kInteger), kMostDistance);
}

void readDistributionPoints(std::string_view value, bool, ParsedCertificate& certificate) {
  std::vector<DistributionPoint> points;
  std::size_t names = 0;
  for (DerReader list(derContent(value, DerReader::kSequence)); !list.atEnd();) {
    DerReader parts(list.content(DerReader::kSequence));
    DistributionPoint point;
    if (parts.nextIs(DerReader::context(0, true))) {
      DistributionPointName name =
          readDistributionPointName(parts.content(DerReader::context(0, true)));
      point.names = std::move(name.names);
      point.relativeName = name.relativeName;
    }
    if (parts.nextIs(DerReader::context(1))) parts.take();  // reasons, of which none is left out
    if (parts.nextIs(DerReader::context(2, true))) {
      point.issuers = directoryNames(parts.content(DerReader::context(2, true)));
    }
    parts.expectEnd();
    names += 1 + point.names.size() + point.issuers.size();
    expectFew(names);
    points.push_back(std::move(point));
  }
  certificate.distributionPoints = std::move(points);
}

// Every extension that is understood. All others are left alone unless they are critical.
struct Understood {
  std::string_view oid;
  const char* name;
  void (*read)(std::string_view value, bool critical, ParsedCertificate& certificate);
};
constexpr Understood kUnderstood[] = {
    {"\x55\x1d\x13"sv, "basicConstraints", readBasicConstraints},
    {"\x55\x1d\x0f"sv, "keyUsage", readKeyUsage},
    {"\x55\x1d\x25"sv, "extKeyUsage", readExtendedKeyUsage},
    {"\x55\x1d\x11"sv, "subjectAltName", readAltNames},
    {"\x55\x1d\x0e"sv, "subjectKeyIdentifier", readSubjectKeyId},
    {"\x55\x1d\x23"sv, "authorityKeyIdentifier", readAuthorityKey},
    {"\x55\x1d\x1e"sv, "nameConstraints", readNameConstraints},
    {"\x55\x1d\x20"sv, "certificatePolicies", readPolicies},
    {"\x55\x1d\x21"sv, "policyMappings", readMappings},
    {"\x55\x1d\x24"sv, "policyConstraints", readPolicyConstraints},
    {"\x55\x1d\x36"sv, "inhibitAnyPolicy", readInhibitAny},
    {"\x55\x1d\x1f"sv, "cRLDistributionPoints", readDistributionPoints},
};

const Understood* understoodExtension(std::string_view oid) {
  const auto* const found = std::find_if(std::begin(kUnderstood), std::end(kUnderstood),
                                         [&](const Understood& row) { return row.oid == oid; });
  return found == std::end(kUnderstood) ? nullptr : found;
}

void readExtension(const Extension& extension, ParsedCertificate& certificate) {
  const Understood* understood = understoodExtension(extension.oid);
  if (understood == nullptr) {
    if (extension.critical) certificate.unknownCritical.push_back(oidText(extension.oid));
    return;
  }
  try {
    understood->read(extension.value, extension.critical, certificate);
  } catch (const DerError& error) {
    certificate.unreadable.push_back(std::string(understood->name) + ": " + error.what());
  }
}

}  // namespace

Extension takeExtension(DerReader& list) {
  DerReader parts(list.content(DerReader::kSequence));
  Extension extension;
  extension.oid = parts.content(DerReader::kOid);
  if (parts.nextIs(DerReader::kBoolean)) {
    extension.critical = derBoolean(parts.content(DerReader::kBoolean));
  }
  extension.value = parts.content(DerReader::kOctetString);
  parts.expectEnd();
  return extension;
}

std::vector<GeneralName> readGeneralNames(std::string_view content) {
  std::vector<GeneralName> names;
  for (DerReader list(content); !list.atEnd();) names.push_back(readGeneralName(list.take()));
  return names;
}

DistributionPointName readDistributionPointName(std::string_view content) {
  DerReader choice(content);
  DistributionPointName name;
  if (choice.nextIs(DerReader::context(0, true))) {
    name.names = readGeneralNames(choice.content(DerReader::context(0, true)));
  } else {
    name.relativeName = choice.content(DerReader::context(1, true));
  }
  choice.expectEnd();
  return name;
}

void readExtensions(std::string_view extensions, ParsedCertificate& certificate) {
  std::set<std::string_view> seen;
  std::size_t count = 0;
  for (DerReader list(derContent(extensions, DerReader::kSequence)); !list.atEnd();) {
    const Extension extension = takeExtension(list);
    if (++count > kMostListed) {
      certificate.unreadable.emplace_back("there are too many extensions");
      return;
    }
    if (!seen.insert(extension.oid).second) {
      certificate.unreadable.push_back(oidText(extension.oid) + " is there twice");
      continue;
    }
    readExtension(extension, certificate);
  }
}
