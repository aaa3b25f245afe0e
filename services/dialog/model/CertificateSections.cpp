#include <algorithm>

#include "services/dialog/model/DialogLines.h"
#include "services/dialog/model/DomainMatch.h"
#include "services/dialog/model/DomainReading.h"
#include "services/dialog/model/NameReading.h"
#include "services/dialog/model/Sections.h"

namespace {

// More than a person reads; a certificate may bear thousands.
constexpr std::size_t kShownNames = 20;

using Kind = CertificateName::Kind;

std::string headingOf(const std::vector<ChainMember>& chain, std::size_t index,
                      unsigned long long warnings) {
  const std::string number = std::to_string(index + 1) + ". ";
  const bool selfSigned = chain[index].view.selfSigned;
  if (index == 0) {
    return number + "the server's own certificate" + (selfSigned ? " (self-signed)" : "");
  }
  if (index + 1 < chain.size()) return number + "intermediate";
  if (!selfSigned) return number + "end of the chain";
  const bool anchored = (warnings & CertificateWarnings::NO_TRUSTED) == 0;
  return number + (anchored ? "anchor (self-signed)" : "end of the chain (self-signed)");
}

const char* labelOf(Kind kind) {
  switch (kind) {
    case Kind::dns:
      return "name";
    case Kind::address:
      return "IP address";
    case Kind::uri:
      return "URI";
    case Kind::email:
      return "e-mail";
    case Kind::commonName:
      return "common name";
  }
  return "name";
}

// The lower, the sooner a name is shown.
int rankOf(const CertificateNames& all, const CertificateName& name,
           const std::optional<std::string>& domain) {
  if (!domain) return 0;
  if (isNameOfServer(all, name) && nameCoversDomain(name, *domain)) return 0;
  return name.text == *domain ? 1 : 2;  // the domain itself, where it does not count
}

struct RankedName {
  int rank;
  const CertificateName* name;
};

// The subject tells the common name where it is not taken for a server's.
std::vector<RankedName> rankNames(const CertificateNames& all, bool ofServer,
                                  const std::optional<std::string>& domain) {
  std::vector<RankedName> ranked;
  for (const CertificateName& name : all.names) {
    if (name.kind == Kind::commonName && !(ofServer && isNameOfServer(all, name))) continue;
    ranked.push_back({rankOf(all, name, domain), &name});
  }
  std::stable_sort(ranked.begin(), ranked.end(),
                   [](const RankedName& a, const RankedName& b) { return a.rank < b.rank; });
  return ranked;
}

void addNames(const CertificateNames& all, bool ofServer, const std::optional<std::string>& domain,
              std::vector<DialogLine>* lines) {
  const std::vector<RankedName> ranked = rankNames(all, ofServer, domain);
  const std::size_t shown = std::min(ranked.size(), kShownNames);
  for (std::size_t i = 0; i < shown; ++i) {
    const CertificateName& name = *ranked[i].name;
    // Not reassuring by itself: anybody can write any name into a certificate.
    const bool fits = ofServer && domain && ranked[i].rank == 0;
    lines->push_back(quoted(fits ? "fitting name" : labelOf(name.kind), name.text));
    if (name.kind != Kind::dns && name.kind != Kind::commonName) continue;
    const std::vector<DialogLine> remarks = describeReading(readDomain(name.text));
    lines->insert(lines->end(), remarks.begin(), remarks.end());
  }
  if (ranked.size() > shown) {
    lines->push_back(sentence("It bears " + std::to_string(ranked.size() - shown) +
                              " more names that are not shown."));
  }
  if (all.otherNames > 0) {
    lines->push_back(
        sentence("Names of other kinds, not shown: " + std::to_string(all.otherNames) + "."));
  }
  if (all.unreadable) {
    lines->push_back(sentence("Its alternative names cannot be read.", DialogTone::doubt));
  }
}

void addWarnings(std::size_t index, unsigned long long warnings,
                 const std::vector<WarningPlace>& places, std::vector<DialogLine>* lines) {
  for (const GradedWarning& warning : gravestFirst(warnings)) {
    const bool here = std::any_of(places.begin(), places.end(), [&](const WarningPlace& place) {
      return place.certificate == index && place.warning == warning.text->flag;
    });
    if (here) lines->push_back(field("warning", warning.text->summary, warning.tone));
  }
}

void addName(const char* label, const std::string& escaped, std::vector<DialogLine>* lines) {
  const std::vector<DialogLine> remarks = describeName(escaped);
  lines->push_back(quotedEscaped(label, escaped));
  lines->insert(lines->end(), remarks.begin(), remarks.end());
}

void addValidity(const CertificateView& view, std::int64_t now, std::vector<DialogLine>* lines) {
  lines->push_back(field("valid from", timeWords(view.notBefore)));
  lines->push_back(field("valid to", timeWords(view.notAfter)));
  const std::string outside = whyNotValid(view, now);
  if (!outside.empty()) lines->push_back(field("now", outside, DialogTone::doubt));
}

}  // namespace

std::vector<DialogSection> makeCertificateSections(const std::vector<ChainMember>& chain,
                                                   const std::optional<std::string>& domain,
                                                   unsigned long long warnings,
                                                   const std::vector<WarningPlace>& places,
                                                   std::int64_t now) {
  std::vector<DialogSection> sections;
  for (std::size_t index = 0; index < chain.size(); ++index) {
    const CertificateView& view = chain[index].view;
    DialogSection section{"certificate", headingOf(chain, index, warnings), DialogTone::plain, {}};
    addWarnings(index, warnings, places, &section.lines);
    addName("subject", view.subject, &section.lines);
    addName("issued by", view.issuer, &section.lines);
    addNames(view.names, index == 0, domain, &section.lines);
    addValidity(view, now, &section.lines);
    section.lines.push_back(quotedEscaped("serial", view.serial));
    section.lines.push_back(field("SHA-256", groupedHex(view.sha256)));
    section.lines.push_back(field("key", view.key));
    section.tone = gravestTone(section.lines);
    sections.push_back(std::move(section));
  }
  return sections;
}
