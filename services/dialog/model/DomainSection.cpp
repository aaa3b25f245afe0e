#include "services/dialog/model/DialogLines.h"
#include "services/dialog/model/DomainReading.h"
#include "services/dialog/model/Sections.h"

DialogSection makeDomainSection(const std::optional<std::string>& domain) {
  DialogSection section{"domain", "The domain that was asked for", DialogTone::plain, {}};
  if (!domain) {
    section.lines.push_back(
        sentence("The program named no domain. Whether the certificate is for the right server "
                 "was not checked.",
                 DialogTone::doubt));
  } else if (domain->empty()) {
    section.lines.push_back(sentence(
        "The program named an empty domain, which no certificate is for.", DialogTone::doubt));
  } else {
    const std::vector<DialogLine> remarks = describeReading(readDomain(*domain));
    section.lines.push_back(quoted("domain", *domain));
    section.lines.insert(section.lines.end(), remarks.begin(), remarks.end());
  }
  section.tone = gravestTone(section.lines);
  return section;
}
