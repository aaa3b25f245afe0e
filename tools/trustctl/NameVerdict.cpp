#include "tools/trustctl/NameVerdict.h"

#include <list>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "trustlib/CertificateUtilities.h"

namespace {

using Kind = CertificateName::Kind;

bool libraryCovers(const X509* certificate, const std::string& domain) {
  const auto commonNames = commonNamesOf(certificate);
  const auto alternativeNames = subjectAltNamesOf(certificate);
  const std::list<std::string> common(commonNames.begin(), commonNames.end());
  const std::list<std::string> alternative(alternativeNames.begin(), alternativeNames.end());
  return CertificateUtilities::certificateDomainMatches(&domain, &common, &alternative);
}

std::string labelCount(std::size_t count) {
  return count == 1 ? "1 label" : fmt::format("{} labels", count);
}

bool hasStar(const CertificateName& name) {
  return name.text.find('*') != std::string::npos;
}

std::string countText(const NameFinding& finding) {
  return fmt::format("has {}, and the domain {}{}", labelCount(finding.match.labels),
                     labelCount(finding.match.domainLabels),
                     hasStar(finding.name) ? "; a star stands for one label, never for a dot" : "");
}

std::string kindReason(Kind kind) {
  switch (kind) {
    case Kind::address:
      return "an address: the check looks at names of hosts only, also where the domain is an "
             "address";
    case Kind::uri:
      return "a URI, which is not the name of a host";
    case Kind::email:
    case Kind::dns:
    case Kind::commonName:
      break;
  }
  return "an e-mail address, which is not the name of a host";
}

}  // namespace

NameVerdict judgeNames(const X509* certificate, const std::string& domain) {
  const CertificateNames names = namesOf(certificate);
  NameVerdict verdict{libraryCovers(certificate, domain), names.unreadable, {}};
  for (const CertificateName& name : names.names) {
    NameMatch match = matchNameOf(names, name, domain);
    if (match.reason == NameReason::covers && !verdict.covered) {
      match.reason = NameReason::malformed;  // a text whose bytes are not of the kind it claims
    }
    verdict.findings.push_back({name, match});
  }
  return verdict;
}

const char* reasonWord(NameReason reason) {
  switch (reason) {
    case NameReason::covers:
      return "covers";
    case NameReason::otherKind:
      return "other_kind";
    case NameReason::notLookedAt:
      return "not_looked_at";
    case NameReason::malformed:
      return "malformed";
    case NameReason::starElsewhere:
      return "star_elsewhere";
    case NameReason::endsLikeAddress:
      return "ends_like_address";
    case NameReason::otherLabelCount:
      return "label_count";
    case NameReason::otherLabel:
      return "label";
    case NameReason::otherStart:
      return "start";
    case NameReason::otherSpelling:
      break;
  }
  return "spelling";
}

std::string reasonText(const NameVerdict& verdict, const NameFinding& finding) {
  const NameMatch& match = finding.match;
  switch (match.reason) {
    case NameReason::covers:
      return "covers the domain";
    case NameReason::otherKind:
      return kindReason(finding.name.kind);
    case NameReason::notLookedAt:
      return verdict.unreadable ? "not looked at, because alternative names that cannot be read "
                                  "stand beside it"
                                : "not looked at, because the certificate has DNS names";
    case NameReason::malformed:
      return finding.name.text.empty() ? "is empty" : "holds what no name of a host can hold";
    case NameReason::starElsewhere:
      return "its star is not the last character of the first label, so it stands for nothing";
    case NameReason::endsLikeAddress:
      return "ends like an address, in which a star stands for nothing";
    case NameReason::otherLabelCount:
      return countText(finding);
    case NameReason::otherLabel:
      return fmt::format("its label '{}' is another than '{}'", printableText(match.label),
                         printableText(match.domainLabel));
    case NameReason::otherStart:
      return fmt::format("'{}' does not begin as '{}' asks", printableText(match.domainLabel),
                         printableText(match.label));
    case NameReason::otherSpelling:
      break;
  }
  return "has the same labels, but dots or spaces stand elsewhere";
}

const char* kindText(Kind kind) {
  switch (kind) {
    case Kind::dns:
      return "DNS name";
    case Kind::address:
      return "IP address";
    case Kind::uri:
      return "URI";
    case Kind::email:
      return "e-mail";
    case Kind::commonName:
      break;
  }
  return "common name";
}

const char* kindWord(Kind kind) {
  switch (kind) {
    case Kind::dns:
      return "dns";
    case Kind::address:
      return "address";
    case Kind::uri:
      return "uri";
    case Kind::email:
      return "email";
    case Kind::commonName:
      break;
  }
  return "common_name";
}
