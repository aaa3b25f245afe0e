#include "trustlib/CertificateUtilities.h"

#include <algorithm>
#include <cstddef>

#include "trustlib/CertificateImpl.h"
#include "trustlib/util/FileUtilities.h"
#include "trustlib/util/ObjectLifecycleManager.h"
#include "trustlib/util/StringUtilities.h"
#include "trustlib/util/Tokens.h"

namespace {

const char dnsPrefix[] = "DNS:";
const std::size_t dnsPrefixLength = sizeof(dnsPrefix) - 1;

bool isDnsName(const std::string& name) {
  return name.compare(0, dnsPrefixLength, dnsPrefix) == 0;
}

bool sameButForCase(char first, char second) {
  return lowerCase(first) == lowerCase(second);
}

bool startsWith(const TextPart& text, const TextPart& prefix) {
  return text.length() >= prefix.length() &&
         std::equal(prefix.begin, prefix.end, text.begin, sameButForCase);
}

bool sameText(const TextPart& first, const TextPart& second) {
  return first.length() == second.length() && startsWith(first, second);
}

Tokens labelsOf(const TextPart& name) {
  static const char dot[] = {'.'};
  return Tokens(name, TextPart(dot, dot + sizeof(dot)));
}

// The wildcard must end the name's first label and stands for the rest of exactly one label,
// possibly for nothing; never for a dot, and never in what looks like an IP address.
bool wildcardMatches(const TextPart& domain, const TextPart& name) {
  Tokens nameLabels = labelsOf(name);
  TextPart nameLabel;
  if (!nameLabels.next(&nameLabel)) {
    return false;
  }
  const char* wildcard = std::find(nameLabel.begin, nameLabel.end, '*');
  if (wildcard != nameLabel.end - 1) {
    return false;
  }
  Tokens domainLabels = labelsOf(domain);
  TextPart domainLabel;
  if (!domainLabels.next(&domainLabel) ||
      !startsWith(domainLabel, TextPart(nameLabel.begin, wildcard))) {
    return false;
  }
  while (nameLabels.next(&nameLabel)) {
    if (!domainLabels.next(&domainLabel) || !sameText(domainLabel, nameLabel)) {
      return false;
    }
  }
  const char lastLabelStart = *nameLabel.begin;
  return !domainLabels.next(&domainLabel) && (lastLabelStart < '0' || lastLabelStart > '9');
}

bool domainMatchesName(const TextPart& domain, const TextPart& name) {
  return !domain.empty() && (sameText(domain, name) || wildcardMatches(domain, name));
}

// The names of a certificate that count, where they stand: nothing is copied.
struct CertificateNames {
  const std::list<std::string>* list;  // NULL: none
  bool areAlternative;                 // then those with the prefix of DNS names count, without it
};

// The common names are a fallback only: one "DNS:" name, even an empty one, silences them.
CertificateNames collectCertificateNames(const std::list<std::string>* commonNames,
                                         const std::list<std::string>* subjectAltNames) {
  const bool hasDnsNames = subjectAltNames != nullptr &&
                           std::any_of(subjectAltNames->begin(), subjectAltNames->end(), isDnsName);
  return hasDnsNames ? CertificateNames{subjectAltNames, true}
                     : CertificateNames{commonNames, false};
}

bool domainMatchesAnyName(const std::string& domain, const CertificateNames& names) {
  return names.list != nullptr &&
         std::any_of(names.list->begin(), names.list->end(), [&](const std::string& name) {
           if (names.areAlternative) {
             return isDnsName(name) &&
                    domainMatchesName(TextPart(domain), TextPart(name, dnsPrefixLength));
           }
           return domainMatchesName(TextPart(domain), TextPart(name));
         });
}

}  // namespace

void CertificateUtilities::clearCertificateChain(std::list<Certificate*>* chain)
    TRUSTLIB_THROWS(TrustManagerException) {
  if (chain == nullptr) {
    return;
  }
  for (Certificate* certificate : *chain) {
    delete certificate;
  }
  chain->clear();
}

void CertificateUtilities::copyCertificateChain(const std::list<Certificate*>* source,
                                                std::list<Certificate*>* destination, bool deep)
    TRUSTLIB_THROWS(TrustManagerException) {
  if (source == nullptr || destination == nullptr) {
    return;
  }
  for (Certificate* certificate : *source) {
    destination->push_back(deep ? certificate->clone() : certificate);
  }
}

void CertificateUtilities::loadCertificateChain(const std::list<std::string>* paths,
                                                std::list<Certificate*>* chain)
    TRUSTLIB_THROWS(TrustManagerException) {
  if (paths == nullptr) {
    throw TrustManagerException(
        "CertificateUtilities::loadCertificateChain - NULL certificate chain file path list");
  }
  if (chain == nullptr) {
    throw TrustManagerException(
        "CertificateUtilities::loadCertificateChain - NULL certificate chain list");
  }
  ObjectLifecycleManager guard;
  for (const std::string& path : *paths) {
    unsigned char* der = nullptr;
    unsigned int length = 0;
    FileUtilities::readFile(&path, &der, &length);
    guard.addBuffer(der);
    Certificate* certificate = new CertificateImpl(der, length);
    guard.addReturnObject(certificate);
    chain->push_back(certificate);
  }
  guard.successfulReturn();
}

bool CertificateUtilities::certificateDomainMatches(const std::string* domain,
                                                    const std::list<std::string>* commonNames,
                                                    const std::list<std::string>* subjectAltNames)
    TRUSTLIB_THROWS(TrustManagerException) {
  return domain != nullptr &&
         domainMatchesAnyName(*domain, collectCertificateNames(commonNames, subjectAltNames));
}

bool CertificateUtilities::certificateDomainMatches(const std::list<std::string>* domains,
                                                    const std::list<std::string>* commonNames,
                                                    const std::list<std::string>* subjectAltNames)
    TRUSTLIB_THROWS(TrustManagerException) {
  const CertificateNames names = collectCertificateNames(commonNames, subjectAltNames);
  return domains != nullptr &&
         std::any_of(domains->begin(), domains->end(), [&names](const std::string& domain) {
           return domainMatchesAnyName(domain, names);
         });
}

void CertificateUtilities::normalizeSerialNumber(const char* serialNumber, std::string* normalized)
    TRUSTLIB_THROWS(TrustManagerException) {
  if (normalized == nullptr) {
    return;
  }
  for (const char* c = serialNumber; *c != '\0'; ++c) {
    if (!StringUtilities::isWhitespace(*c)) {
      normalized->push_back(*c);
    }
  }
  StringUtilities::tolower(*normalized);
}
