#include "services/dialog/model/DialogLines.h"
#include "services/dialog/model/DomainReading.h"
#include "services/dialog/model/Sections.h"

std::vector<DialogLine> describeDomain(const std::optional<std::string>& domain) {
  if (!domain) {
    return {
        sentence("The program named no domain. Whether the certificate is for the right server "
                 "was not checked.",
                 DialogTone::doubt)};
  }
  if (domain->empty()) {
    return {sentence("The program named an empty domain, which no certificate is for.",
                     DialogTone::doubt)};
  }
  std::vector<DialogLine> lines = describeReading(readDomain(*domain));
  lines.insert(lines.begin(), quoted("domain", *domain));
  return lines;
}

DialogSection makeDomainSection(const std::optional<std::string>& domain) {
  DialogSection section{"domain", "The domain that was asked for", DialogTone::plain,
                        describeDomain(domain)};
  section.tone = gravestTone(section.lines);
  return section;
}
