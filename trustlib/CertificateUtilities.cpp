#include "trustlib/CertificateUtilities.h"

#include <algorithm>
#include <iterator>

#include "trustlib/CertificateImpl.h"
#include "trustlib/util/FileUtilities.h"
#include "trustlib/util/ObjectLifecycleManager.h"
#include "trustlib/util/StringUtilities.h"

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
  if (domain == nullptr) {
    return false;
  }
  const std::list<std::string> domains(1, *domain);
  return certificateDomainMatches(&domains, commonNames, subjectAltNames);
}

bool CertificateUtilities::certificateDomainMatches(const std::list<std::string>* domains,
                                                    const std::list<std::string>* commonNames,
                                                    const std::list<std::string>* subjectAltNames)
    TRUSTLIB_THROWS(TrustManagerException) {
  if (domains == nullptr) {
    return false;
  }
  std::list<std::string> names;
  if (!collectCertificateNames(commonNames, subjectAltNames, &names)) {
    return false;
  }
  for (const std::string& domain : *domains) {
    for (const std::string& name : names) {
      if (domainMatchesName(&domain, &name)) {
        return true;
      }
    }
  }
  return false;
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

// The common names are a fallback only: one "DNS:" name, even an empty one, silences them.
bool CertificateUtilities::collectCertificateNames(const std::list<std::string>* commonNames,
                                                   const std::list<std::string>* subjectAltNames,
                                                   std::list<std::string>* names) {
  static const std::string dnsPrefix("DNS:");
  if (names == nullptr) {
    return false;
  }
  if (subjectAltNames != nullptr) {
    for (const std::string& name : *subjectAltNames) {
      if (StringUtilities::startsWith(name, dnsPrefix)) {
        names->push_back(name.substr(dnsPrefix.length()));
      }
    }
  }
  if (names->empty() && commonNames != nullptr) {
    names->insert(names->end(), commonNames->begin(), commonNames->end());
  }
  return !names->empty();
}

bool CertificateUtilities::domainMatchesName(const std::string* domain, const std::string* name) {
  if (domain == nullptr || name == nullptr || domain->empty()) {
    return false;
  }
  std::string lowerDomain(*domain);
  std::string lowerName(*name);
  StringUtilities::tolower(lowerDomain);
  StringUtilities::tolower(lowerName);
  if (lowerDomain == lowerName) {
    return true;
  }
  return findWildcard(lowerName) != std::string::npos && wildcardMatches(lowerDomain, lowerName);
}

// Both lower-cased. The wildcard must end the name's first label and stands for the rest of
// exactly one label, possibly for nothing; never for a dot, and never in what looks like an
// IP address.
bool CertificateUtilities::wildcardMatches(const std::string& domain, const std::string& name) {
  std::list<std::string> nameLabels;
  StringUtilities::tokenize(&name, ".", nameLabels);
  if (nameLabels.empty()) {
    return false;
  }
  const std::string& nameFirst = nameLabels.front();
  const std::string::size_type wildcard = findWildcard(nameFirst);
  if (wildcard == std::string::npos || wildcard != nameFirst.length() - 1) {
    return false;
  }
  const char lastLabelStart = nameLabels.back()[0];
  if (lastLabelStart >= '0' && lastLabelStart <= '9') {
    return false;
  }
  std::list<std::string> domainLabels;
  StringUtilities::tokenize(&domain, ".", domainLabels);
  if (domainLabels.size() != nameLabels.size()) {
    return false;
  }
  if (!std::equal(std::next(nameLabels.begin()), nameLabels.end(),
                  std::next(domainLabels.begin()))) {
    return false;
  }
  return domainLabels.front().compare(0, wildcard, nameFirst, 0, wildcard) == 0;
}

std::string::size_type CertificateUtilities::findWildcard(const std::string& text) {
  return text.find('*');
}
