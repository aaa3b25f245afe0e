#include "tools/trustctl/blacklist/BlacklistCheck.h"

#include <list>
#include <stdexcept>

#include <fmt/format.h>

#include "services/common/CertificateNames.h"
#include "services/common/CertificateView.h"
#include "tools/trustctl/CertificateInput.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/InputFile.h"
#include "tools/trustctl/blacklist/SerialNumber.h"
#include "trustlib/DefaultCertificateBlacklist.h"

namespace {

std::list<std::string> listOf(const std::vector<std::string>& texts) {
  return {texts.begin(), texts.end()};
}

BlacklistFinding checkCertificate(const CertificateDer& der, const std::string& path) {
  const X509Ptr certificate = parseCertificate(der);
  const std::string serial = serialNumberForLookup(certificate.get());
  const auto commonNames = listOf(commonNamesOf(certificate.get()));
  const auto alternativeNames = listOf(subjectAltNamesOf(certificate.get()));
  const int verdict = DefaultCertificateBlacklist::getInstance()->isCertificateBlacklisted(
      &serial, &commonNames, &alternativeNames);
  return {serial, path, viewCertificate(der).subject, verdict != 0, findBlacklistEntry(serial)};
}

}  // namespace

BlacklistFinding checkSerialNumber(const std::string& serial) {
  const bool onList =
      DefaultCertificateBlacklist::getInstance()->getCertificateBlacklistDomain(&serial) != nullptr;
  return {serial, {}, {}, onList, findBlacklistEntry(serial)};
}

std::vector<BlacklistFinding> checkCertificatesIn(const std::string& path) {
  std::vector<BlacklistFinding> findings;
  try {
    for (const CertificateDer& der : readCertificates({path})) {
      findings.push_back(checkCertificate(der, path));
    }
  } catch (const CommandError&) {
    throw;
  } catch (const std::runtime_error& error) {
    throw CommandError(ExitStatus::wrongUse,
                       fmt::format("{} holds a certificate that cannot be read: {}; give another",
                                   inputName(path), error.what()));
  }
  return findings;
}
