#ifndef SERVICES_DIALOG_MODEL_WARNINGPLACES_H
#define SERVICES_DIALOG_MODEL_WARNINGPLACES_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "services/dialog/model/ChainMember.h"
#include "trustlib/CertificateWarnings.h"

// A certificate that shows by itself, or beside its neighbours, why there is a warning.
struct WarningPlace {
  CertificateWarnings::Flag warning;
  std::size_t certificate;  // index into the chain
  std::string reason;       // the program's words: "it expired 12 days ago"
};

// Looks in the chain for what each of the warnings speaks of, and finds only what stands there:
// a warning whose cause is elsewhere (a revocation list, a certificate that was not sent) has no
// place. Ordered by warning bit, then by certificate.
std::vector<WarningPlace> findWarningPlaces(const std::vector<ChainMember>& chain,
                                            const std::optional<std::string>& domain,
                                            unsigned long long warnings, std::int64_t now);

// How far outside its validity a certificate is; empty when it is inside.
std::string whyNotValid(const CertificateView& view, std::int64_t now);

#endif
