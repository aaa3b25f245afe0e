#include "services/certmgr/AnswerNames.h"

#include <utility>

#include <openssl/x509.h>

#include "services/common/CertificateNames.h"
#include "services/common/OpenSslOwners.h"

std::vector<std::string> commonNamesOf(const ParsedCertificate& certificate) {
  const std::string& der = certificate.subject.der();
  const auto* at = reinterpret_cast<const unsigned char*>(der.data());
  const OpenSslOwner<X509_NAME, X509_NAME_free> subject(
      d2i_X509_NAME(nullptr, &at, static_cast<long>(der.size())));
  return subject == nullptr ? std::vector<std::string>() : commonNamesOf(subject.get());
}

std::vector<std::string> subjectAltNamesOf(const ParsedCertificate& certificate) {
  if (certificate.altNamesUnreadable) return {kUnreadableAltNames};
  std::vector<std::string> names;
  names.reserve(certificate.altNames.size());
  for (const GeneralName& name : certificate.altNames) {
    // The kinds stand in the order of their numbers.
    std::string text = altNameText(static_cast<int>(name.kind), name.bytes);
    if (!text.empty()) names.push_back(std::move(text));
  }
  return names;
}
