#include "tools/trustctl/exceptions/WarningList.h"

#include <sstream>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/Suggestion.h"
#include "tools/trustctl/WarningWords.h"

namespace {

unsigned long long parseWarning(const std::string& name) {
  const WarningText* text = findWarningText(name);
  if (text == nullptr) {
    refuse(fmt::format("no warning is named '{}'{}; list them with: trustctl explain",
                       printableText(name), didYouMean(name, warningNames())));
  }
  return text->flag;
}

std::string withoutSpaces(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  return first == std::string::npos ? ""
                                    : text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

}  // namespace

unsigned long long parseWarningList(const std::string& typed) {
  unsigned long long warnings = 0;
  std::istringstream names(typed);
  for (std::string name; std::getline(names, name, ',');) {
    warnings |= parseWarning(withoutSpaces(name));
  }
  if (warnings == 0) {
    refuse("no warning is named; give those to accept, as in --warnings NO_TRUSTED,CERT_EXPIRY");
  }
  return warnings;
}

void refuseRevoked(unsigned long long warnings, bool evenRevoked, const std::string& what) {
  if ((warnings & CertificateWarnings::REVOKED) != 0 && !evenRevoked) {
    refuse(
        fmt::format("{} accepts REVOKED: a certificate that its own issuer has withdrawn; "
                    "leave it out, or add --even-revoked if that is truly meant",
                    what));
  }
}
