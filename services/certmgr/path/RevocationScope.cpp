#include "services/certmgr/path/RevocationScope.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>

#include "services/certmgr/path/DerReader.h"

namespace {

using NameKeys = std::set<std::string>;

std::string element(unsigned char tag, const std::string& content) {
  std::string lengthBytes;
  for (std::size_t rest = content.size(); rest != 0; rest >>= 8) {
    lengthBytes.insert(lengthBytes.begin(), static_cast<char>(rest & 0xffU));
  }
  std::string der(1, static_cast<char>(tag));
  if (content.size() < 0x80) {
    der += static_cast<char>(content.size());
  } else {
    der += static_cast<char>(0x80U | lengthBytes.size());
    der += lengthBytes;
  }
  return der + content;
}

std::string keyOf(const DistinguishedName& name) {
  return "directory:" + name.key();
}

// A relative name below the name of a list's issuer, as a full one.
DistinguishedName fullName(const DistinguishedName& issuer, std::string_view relativeName) {
  std::string content(derContent(issuer.der(), DerReader::kSequence));
  content += element(DerReader::kSet, std::string(relativeName));
  return DistinguishedName(element(DerReader::kSequence, content));
}

// The names of a distribution point, comparable. One that cannot be read matches nothing.
NameKeys keysOf(const std::vector<GeneralName>& names, std::string_view relativeName,
                const DistinguishedName& issuer) {
  NameKeys keys;
  try {
    for (const GeneralName& name : names) {
      if (name.kind == GeneralName::Kind::directory) {
        keys.insert(keyOf(DistinguishedName(name.bytes)));
      } else {
        keys.insert(std::to_string(static_cast<int>(name.kind)) + ":" + std::string(name.bytes));
      }
    }
    if (!relativeName.empty()) keys.insert(keyOf(fullName(issuer, relativeName)));
  } catch (const DerError&) {
    return {};
  }
  return keys;
}

// The names under which a certificate knows the list that one of its points refers to.
NameKeys keysOf(const DistributionPoint& point, const ParsedCertificate& certificate) {
  const DistinguishedName& listIssuer =
      point.issuers.size() == 1 ? point.issuers.front() : certificate.issuer;
  if (!point.names.empty() || !point.relativeName.empty()) {
    return keysOf(point.names, point.relativeName, listIssuer);
  }
  NameKeys keys;
  for (const DistinguishedName& issuer : point.issuers) keys.insert(keyOf(issuer));
  return keys;
}

bool isAmong(const std::vector<DistinguishedName>& names, const DistinguishedName& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

bool isOfKind(const IssuingPoint& scope, const ParsedCertificate& certificate) {
  if (scope.onlyAttributeCertificates) return false;
  return certificate.isCa ? !scope.onlyUserCertificates : !scope.onlyCaCertificates;
}

// Whether the certificate's point may be where that list of that scope is found.
bool isAt(const DistributionPoint& point, const RevocationList& list, bool isOwn,
          const ParsedCertificate& certificate) {
  const bool refersToIssuer =
      isAmong(point.issuers, list.issuer) || (isOwn && point.issuers.empty());
  if (!refersToIssuer) return false;
  const IssuingPoint* scope = list.issuingPoint ? &*list.issuingPoint : nullptr;
  if (scope == nullptr || !scope->hasName) return true;
  const NameKeys names = keysOf(scope->names, scope->relativeName, list.issuer);
  const NameKeys wanted = keysOf(point, certificate);
  return std::any_of(names.begin(), names.end(),
                     [&](const std::string& name) { return wanted.contains(name); });
}

}  // namespace

bool isAbout(const RevocationList& list, const ParsedCertificate& certificate) {
  if (!list.notUnderstood.empty()) return false;
  const bool isOwn = list.issuer == certificate.issuer;
  const IssuingPoint* scope = list.issuingPoint ? &*list.issuingPoint : nullptr;
  if (scope != nullptr && !isOfKind(*scope, certificate)) return false;
  if (!isOwn && (scope == nullptr || !scope->isIndirect)) return false;
  // Every certificate is covered by the lists of its own issuer, except by those for points
  // that it does not name.
  const std::vector<DistributionPoint>& points = certificate.distributionPoints;
  if (isOwn && (points.empty() || scope == nullptr || !scope->hasName)) return true;
  return std::any_of(points.begin(), points.end(), [&](const DistributionPoint& point) {
    return isAt(point, list, isOwn, certificate);
  });
}

std::vector<RevocationEntry> entriesOf(const RevocationList& list,
                                       const ParsedCertificate& certificate) {
  std::vector<RevocationEntry> entries = list.find(certificate.serial);
  std::erase_if(entries, [&](const RevocationEntry& entry) {
    const bool isOther = entry.issuers.empty() ? list.issuer != certificate.issuer
                                               : !isAmong(entry.issuers, certificate.issuer);
    return isOther;
  });
  return entries;
}

bool continues(const RevocationList& changes, const RevocationList& list) {
  if (!changes.baseNumber || !changes.number || !list.number) return false;
  const auto scopeOf = [](const RevocationList& one) {
    return one.issuingPoint ? one.issuingPoint->der : std::string_view();
  };
  return changes.issuer == list.issuer && scopeOf(changes) == scopeOf(list) &&
         !isLowerNumber(*list.number, *changes.baseNumber) &&
         isLowerNumber(*list.number, *changes.number);
}
