#include "tools/trustctl/exceptions/LikelyDecisions.h"

#include <set>
#include <stdexcept>
#include <utility>

#include "services/common/LowerCase.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/Progress.h"
#include "tools/trustctl/Suggestion.h"
#include "tools/trustctl/exceptions/StillStore.h"

namespace {

std::string plainSpelling(const std::string& domain) {
  std::string plain = lowerCase(domain);
  while (!plain.empty() && plain.back() == '.') {
    plain.pop_back();
  }
  return plain;
}

DomainRelation relationOf(const ExceptionRecord& record, const std::string& domain,
                          const std::optional<CertificateDer>& leaf) {
  if (record.domain == domain) {
    return DomainRelation::same;
  }
  if (record.domain && plainSpelling(*record.domain) == plainSpelling(domain)) {
    return DomainRelation::otherSpelling;
  }
  return leaf && record.chain.front() == *leaf ? DomainRelation::sameCertificate
                                               : DomainRelation::none;
}

std::optional<ExceptionRecord> readIfPossible(const ExceptionStore& store,
                                              const std::string& fileName) {
  try {
    return store.read(fileName);
  } catch (const std::runtime_error&) {
    return std::nullopt;  // the verdict's own look-up and doctor tell of it
  }
}

void keep(DomainRelation relation, StoredRecord stored, LikelyDecisions* likely) {
  if (relation == DomainRelation::none || relation > likely->relation) {
    return;
  }
  if (relation < likely->relation) {
    likely->relation = relation;
    likely->records.clear();
  }
  likely->records.push_back(std::move(stored));
}

// Those of the one domain that looks most like it.
void findSimilar(const ExceptionStore& store, const std::string& domain,
                 const std::set<std::string>& domains, LikelyDecisions* likely) {
  const std::string nearest =
      nearestWord(domain, std::vector<std::string>(domains.begin(), domains.end()));
  if (nearest.empty()) {
    return;
  }
  for (const std::string& name : store.fileNames()) {
    auto record = readIfPossible(store, name);
    if (record && record->domain == nearest) {
      keep(DomainRelation::similar, {name, std::move(*record)}, likely);
    }
  }
}

LikelyDecisions findLikelyNow(const ExceptionStore& store, const std::string& domain,
                              const std::optional<CertificateDer>& leaf) {
  LikelyDecisions likely;
  std::set<std::string> domains;
  const std::vector<std::string> names = store.fileNames();
  Progress progress("reading", names.size());
  for (const std::string& name : names) {
    progress.advance();
    auto record = readIfPossible(store, name);
    if (!record) {
      ++likely.unreadable;
      continue;
    }
    if (record->domain) {
      domains.insert(*record->domain);
    }
    const DomainRelation relation = relationOf(*record, domain, leaf);
    keep(relation, {name, std::move(*record)}, &likely);
  }
  if (likely.relation == DomainRelation::none) {
    findSimilar(store, domain, domains, &likely);
  }
  return likely;
}

}  // namespace

LikelyDecisions findLikely(const ExceptionStore& store, const std::string& domain,
                           const std::optional<CertificateDer>& leaf) {
  LikelyDecisions likely;
  whileStill(store, [&] { likely = findLikelyNow(store, domain, leaf); });
  return likely;
}
