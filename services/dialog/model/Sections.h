#ifndef SERVICES_DIALOG_MODEL_SECTIONS_H
#define SERVICES_DIALOG_MODEL_SECTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "services/common/WarningTexts.h"
#include "services/dialog/model/ChainMember.h"
#include "services/dialog/model/DialogInput.h"
#include "services/dialog/model/DialogModel.h"
#include "services/dialog/model/WarningPlaces.h"

// The parts of a dialog, each from what it needs and nothing else. All are pure.

// Who asks.
DialogSection makeAskerSection(const Asker& asker);

// The domain, in both its forms, and what one might overlook in it.
DialogSection makeDomainSection(const std::optional<std::string>& domain);

// The lines of that section, to be said again where the domain is accepted.
std::vector<DialogLine> describeDomain(const std::optional<std::string>& domain);

// What has changed since the nearest exception that was stored for the domain; nothing when
// there is none.
std::optional<DialogSection> makeHistorySection(const DialogInput& input,
                                                const std::vector<ChainMember>& chain);

// A hint that this machine's clock is the likelier fault; nothing when it is not.
std::optional<DialogSection> makeClockSection(const std::vector<ChainMember>& chain,
                                              unsigned long long warnings, std::int64_t now);

// One section for each warning, the gravest first; one that says so for reasons that nobody
// here knows, and for none at all.
std::vector<DialogSection> makeWarningSections(unsigned long long warnings,
                                               const std::vector<WarningPlace>& places);

// A warning and its weight.
struct GradedWarning {
  const WarningText* text;
  DialogTone tone;
};

// The known ones of the warnings, the gravest first.
std::vector<GradedWarning> gravestFirst(unsigned long long warnings);

// One section for each certificate, leaf first.
std::vector<DialogSection> makeCertificateSections(const std::vector<ChainMember>& chain,
                                                   const std::optional<std::string>& domain,
                                                   unsigned long long warnings,
                                                   const std::vector<WarningPlace>& places,
                                                   std::int64_t now);

#endif
