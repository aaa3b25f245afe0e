#include <algorithm>

#include "services/common/TimeText.h"
#include "services/dialog/model/DialogLines.h"
#include "services/dialog/model/Sections.h"
#include "trustlib/CertificateWarnings.h"

namespace {

// No program of this kind existed before.
constexpr std::int64_t kEarliestNow = 1767225600;  // 2026-01-01T00:00:00Z
// New certificates are often valid from the hour they are made in.
constexpr std::int64_t kJustIssued = 2 * 86400;

template <class Test>
bool all(const std::vector<ChainMember>& chain, Test test) {
  return !chain.empty() && std::all_of(chain.begin(), chain.end(), [&](const ChainMember& member) {
    return test(member.view);
  });
}

// Why the clock is to be suspected rather than the certificates; empty when it is not.
std::string whyClock(const std::vector<ChainMember>& chain, std::int64_t now) {
  if (now < kEarliestNow) return "That is before this program was made.";
  if (all(chain,
          [now](const CertificateView& view) { return view.notBefore && now < *view.notBefore; })) {
    return "That is before every certificate here was issued.";
  }
  // One expired certificate is a forgotten renewal; authorities live much longer than servers'.
  if (chain.size() > 1 && all(chain, [now](const CertificateView& view) {
        return view.notAfter && now > *view.notAfter;
      })) {
    return "By then every certificate here had expired, the authorities' too.";
  }
  const auto issued = chain.front().view.notBefore;
  if (issued && now < *issued && *issued - now < kJustIssued) {
    return "The server's certificate becomes valid shortly after that; a clock that is a little "
           "slow, or in the wrong time zone, makes a new certificate look so.";
  }
  return "";
}

}  // namespace

std::optional<DialogSection> makeClockSection(const std::vector<ChainMember>& chain,
                                              unsigned long long warnings, std::int64_t now) {
  if ((warnings & CertificateWarnings::CERT_EXPIRY) == 0) return {};
  const std::string why = whyClock(chain, now);
  if (why.empty()) return {};
  return DialogSection{
      "clock",
      "This machine's clock may be wrong",
      DialogTone::doubt,
      {field("clock says", formatTime(now), DialogTone::doubt), sentence(why, DialogTone::doubt),
       sentence("Check it with: date -u. If it is wrong, set it and connect again; there may be "
                "nothing to accept.")}};
}
