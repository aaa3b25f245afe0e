#include "services/certmgr/path/TrustStore.h"

#include <algorithm>
#include <atomic>

namespace {

std::uint64_t nextGeneration() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

template <class Entry, class FingerprintOf>
bool insertSorted(std::vector<Entry>& entries, Entry entry, FingerprintOf fingerprintOf) {
  const auto at = std::lower_bound(entries.begin(), entries.end(), entry,
                                   [&](const Entry& one, const Entry& other) {
                                     return fingerprintOf(one) < fingerprintOf(other);
                                   });
  if (at != entries.end() && fingerprintOf(*at) == fingerprintOf(entry)) return false;
  entries.insert(at, std::move(entry));
  return true;
}

template <class Entry>
const std::vector<Entry>& entriesOf(
    const std::unordered_map<std::string, std::vector<Entry>>& entries,
    const DistinguishedName& name) {
  static const std::vector<Entry> kNone;
  const auto found = entries.find(name.key());
  return found == entries.end() ? kNone : found->second;
}

}  // namespace

TrustStore::TrustStore() : generation_(nextGeneration()) {}

void TrustStore::add(Anchor anchor) {
  std::vector<Anchor>& anchors = anchors_[anchor.certificate->subject.key()];
  const bool isNew = insertSorted(
      anchors, std::move(anchor),
      [](const Anchor& one) -> const auto& { return one.certificate->fingerprint; });
  if (isNew) ++anchorCount_;
}

void TrustStore::add(RevocationListPtr list) {
  std::vector<RevocationListPtr>& lists = lists_[list->issuer.key()];
  insertSorted(
      lists, std::move(list),
      [](const RevocationListPtr& one) -> const auto& { return one->fingerprint; });
}

const std::vector<Anchor>& TrustStore::anchorsNamed(const DistinguishedName& subject) const {
  return entriesOf(anchors_, subject);
}

const Anchor* TrustStore::find(const ParsedCertificate& certificate) const {
  for (const Anchor& anchor : anchorsNamed(certificate.subject)) {
    if (anchor.certificate->fingerprint == certificate.fingerprint) return &anchor;
  }
  return nullptr;
}

const std::vector<RevocationListPtr>& TrustStore::listsBy(const DistinguishedName& issuer) const {
  return entriesOf(lists_, issuer);
}
