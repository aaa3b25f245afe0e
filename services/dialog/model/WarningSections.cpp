#include "services/common/WarningTexts.h"
#include "services/dialog/model/DialogLines.h"
#include "services/dialog/model/Sections.h"

namespace {

using Warning = CertificateWarnings;

struct Gravity {
  Warning::Flag warning;
  DialogTone tone;
};

// The gravest first: what is proven false, then whom the certificate speaks for, then what
// somebody was not allowed to do, then what was only not said.
constexpr Gravity kGravities[] = {
    {Warning::REVOKED, DialogTone::danger},
    {Warning::INVALID_SIGNATURE, DialogTone::danger},
    {Warning::BC_NOT_CA, DialogTone::danger},
    {Warning::DOMAINNAME_MISMATCH, DialogTone::danger},
    {Warning::NO_TRUSTED, DialogTone::danger},
    {Warning::NAME_CONSTRAINTS, DialogTone::danger},
    {Warning::INVALID_ISSUER, DialogTone::danger},
    {Warning::BC_PATH_LENGTH, DialogTone::danger},
    {Warning::KU_INVALID, DialogTone::danger},
    {Warning::UNKNOWN_CRITICAL_EXT, DialogTone::doubt},
    {Warning::BC_MISSING, DialogTone::doubt},
    {Warning::CERT_EXPIRY, DialogTone::doubt},
    {Warning::KU_MISSING, DialogTone::doubt},
    {Warning::BC_NOT_CRITICAL, DialogTone::doubt},
};

constexpr unsigned long long knownWarnings() {
  unsigned long long all = 0;
  for (const Gravity& gravity : kGravities) all |= gravity.warning;
  return all;
}

DialogSection makeWarningSection(const GradedWarning& warning,
                                 const std::vector<WarningPlace>& places) {
  const WarningText& text = *warning.text;
  DialogSection section{"warning", text.summary, warning.tone, {}};
  section.lines = {field("meaning", text.meaning), field("attack", text.attack),
                   field("innocent cause", text.cause), field("safe next step", text.next)};
  for (const WarningPlace& place : places) {
    if (place.warning != text.flag) continue;
    section.lines.push_back(
        field("found on", certificateNumber(place.certificate) + ": " + place.reason));
  }
  return section;
}

DialogSection makeUnknownSection() {
  return {"warning",
          "The service gave a reason that this program does not know.",
          DialogTone::danger,
          {field("meaning",
                 "Something is wrong with the certificates, but what it is cannot be told here."),
           field("safe next step",
                 "Do not trust it. Ask who looks after this machine whether its programs are of "
                 "one age.")}};
}

}  // namespace

std::vector<GradedWarning> gravestFirst(unsigned long long warnings) {
  std::vector<GradedWarning> graded;
  for (const Gravity& gravity : kGravities) {
    for (const WarningText* text : textsOf(warnings & gravity.warning)) {
      graded.push_back({text, gravity.tone});
    }
  }
  return graded;
}

std::vector<DialogSection> makeWarningSections(unsigned long long warnings,
                                               const std::vector<WarningPlace>& places) {
  std::vector<DialogSection> sections;
  for (const GradedWarning& warning : gravestFirst(warnings)) {
    sections.push_back(makeWarningSection(warning, places));
  }
  if (warnings == 0 || (warnings & ~knownWarnings()) != 0) {
    sections.push_back(makeUnknownSection());
  }
  return sections;
}
