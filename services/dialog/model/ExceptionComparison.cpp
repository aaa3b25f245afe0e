#include "services/dialog/model/ExceptionComparison.h"

#include <algorithm>
#include <bit>
#include <stdexcept>
#include <tuple>
#include <utility>

#include <openssl/x509v3.h>

namespace {

// Whoever bought any certificate of an authority can sign with it, and is not vouched for in that.
bool mayIssue(X509* certificate) {
  return (X509_get_extension_flags(certificate) & EXFLAG_CA) != 0;
}

// The keys that vouch for the leaf, its issuer's first: as far up as names fit, signatures verify
// and those below may issue.
std::vector<std::string> vouchingKeys(const std::vector<ChainMember>& chain) {
  std::vector<std::string> keys;
  if (chain.front().view.selfSigned) return {chain.front().publicKey};
  for (std::size_t i = 0; i + 1 < chain.size(); ++i) {
    X509* certificate = chain[i].certificate.get();
    const X509* issuer = chain[i + 1].certificate.get();
    if ((i > 0 && !mayIssue(certificate)) ||
        X509_NAME_cmp(X509_get_issuer_name(certificate), X509_get_subject_name(issuer)) != 0 ||
        !isSignedBy(certificate, issuer)) {
      break;
    }
    keys.push_back(chain[i + 1].publicKey);
  }
  return keys;
}

// The chain of now; its signatures are verified once for all comparisons.
struct Present {
  const std::vector<ChainMember>& chain;
  std::vector<std::string> keys;
};

IssuerChange compareIssuers(const Present& now, const std::vector<ChainMember>& then) {
  const std::vector<std::string>& keysNow = now.keys;
  const std::vector<std::string> keysThen = vouchingKeys(then);
  if (!keysNow.empty() && !keysThen.empty()) {
    if (keysNow.front() == keysThen.front()) return IssuerChange::none;
    const bool shared = std::find_first_of(keysNow.begin(), keysNow.end(), keysThen.begin(),
                                           keysThen.end()) != keysNow.end();
    return shared ? IssuerChange::sameRoots : IssuerChange::other;
  }
  const bool sameName = X509_NAME_cmp(X509_get_issuer_name(now.chain.front().certificate.get()),
                                      X509_get_issuer_name(then.front().certificate.get())) == 0;
  return sameName ? IssuerChange::unproven : IssuerChange::other;
}

bool isSameCertificate(const ChainMember& a, const ChainMember& b) {
  return a.view.sha256 == b.view.sha256;
}

ExceptionDifference compare(unsigned long long warnings, const Present& present,
                            const EarlierException& earlier) {
  ExceptionDifference difference;
  difference.then = readChain(earlier.chain);
  const std::vector<ChainMember>& now = present.chain;
  const std::vector<ChainMember>& then = difference.then;
  if (!isSameCertificate(now.front(), then.front())) {
    difference.leaf = now.front().publicKey == then.front().publicKey ? LeafChange::renewedKeyKept
                                                                      : LeafChange::keyChanged;
    difference.issuer = compareIssuers(present, then);
  }
  difference.restChanged =
      !std::equal(now.begin() + 1, now.end(), then.begin() + 1, then.end(), isSameCertificate);
  difference.newWarnings = warnings & ~earlier.warnings;
  difference.goneWarnings = earlier.warnings & ~warnings;
  return difference;
}

std::optional<std::size_t> placeOf(const ChainMember& certificate,
                                   const std::vector<ChainMember>& chain) {
  const auto found = std::find_if(chain.begin(), chain.end(), [&](const ChainMember& other) {
    return isSameCertificate(certificate, other);
  });
  if (found == chain.end()) return {};
  return static_cast<std::size_t>(found - chain.begin());
}

// What became of the certificate of now in that place.
CertificateDifference compareAt(std::size_t place, const std::vector<ChainMember>& now,
                                const std::vector<ChainMember>& then) {
  const bool hasCounterpart = place < then.size();
  if (hasCounterpart && isSameCertificate(now[place], then[place])) {
    return {CertificateChange::none, place, place};
  }
  if (const auto before = placeOf(now[place], then)) {
    return {CertificateChange::moved, place, before};
  }
  // What is elsewhere in the chain of now was not replaced.
  if (!hasCounterpart || placeOf(then[place], now)) {
    return {CertificateChange::added, place, {}};
  }
  const bool sameKey = now[place].publicKey == then[place].publicKey;
  return {sameKey ? CertificateChange::renewedKeyKept : CertificateChange::keyChanged, place,
          place};
}

auto distanceOf(const ExceptionDifference& difference, const EarlierException& earlier) {
  const std::int64_t age = -difference.then.front().view.notBefore.value_or(0);
  return std::make_tuple(difference.leaf, difference.issuer, std::popcount(difference.newWarnings),
                         difference.restChanged, std::popcount(difference.goneWarnings), age,
                         earlier.chain, earlier.warnings);
}

}  // namespace

std::vector<CertificateDifference> compareChains(const std::vector<ChainMember>& now,
                                                 const std::vector<ChainMember>& then) {
  std::vector<CertificateDifference> all;
  std::vector<bool> told(then.size());
  for (std::size_t i = 0; i < now.size(); ++i) {
    all.push_back(compareAt(i, now, then));
    if (all.back().then) told[*all.back().then] = true;
  }
  for (std::size_t i = 0; i < then.size(); ++i) {
    if (!told[i]) all.push_back({CertificateChange::gone, {}, i});
  }
  return all;
}

std::optional<ExceptionDifference> compareWithNearest(const DialogInput& input,
                                                      const std::vector<ChainMember>& chain) {
  if (input.earlier.empty()) return {};
  const Present present{chain, vouchingKeys(chain)};
  std::optional<ExceptionDifference> nearest;
  const EarlierException* nearestException = nullptr;
  for (const EarlierException& earlier : input.earlier) {
    if (earlier.chain.empty()) continue;
    try {
      ExceptionDifference difference = compare(input.warnings, present, earlier);
      difference.earlier = static_cast<std::size_t>(&earlier - input.earlier.data());
      if (nearest && distanceOf(*nearest, *nearestException) <= distanceOf(difference, earlier)) {
        continue;
      }
      nearest = std::move(difference);
      nearestException = &earlier;
    } catch (const std::runtime_error&) {
      continue;  // it was never a decision about certificates
    }
  }
  return nearest;
}
