#include "tools/trustctl/exceptions/RecordId.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>

#include <fmt/format.h>

#include "services/common/LowerCase.h"
#include "services/common/PrintableText.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/Progress.h"
#include "tools/trustctl/Suggestion.h"
#include "tools/trustctl/exceptions/RecordName.h"
#include "tools/trustctl/exceptions/StillStore.h"

namespace {

using Names = std::vector<std::string>;

// Of every domain that is asked for, in lower case: the files of its records.
using NamesByDomain = std::map<std::string, Names>;

bool isStartOfHash(const std::string& id) {
  constexpr std::size_t fewest = 4;
  return id.size() >= fewest && id.find_first_not_of("0123456789abcdef") == std::string::npos;
}

Names withHash(const Names& names, const std::string& start) {
  Names found;
  for (const std::string& name : names) {
    const auto parsed = parseRecordName(name);
    if (parsed && parsed->hash.compare(0, start.size(), start) == 0) {
      found.push_back(name);
    }
  }
  return found;
}

// By the names of the files alone, without reading any.
Names byName(const Names& names, const std::string& id) {
  if (std::binary_search(names.begin(), names.end(), id)) {
    return {id};
  }
  const std::string start = lowerCase(id);
  return isStartOfHash(start) ? withHash(names, start) : Names();
}

// Fills the names in, and gives the domains that there are, for suggestions.
std::set<std::string> searchDomains(const ExceptionStore& store, const Names& names,
                                    NamesByDomain* wanted) {
  std::set<std::string> domains;
  Progress progress("searching", names.size());
  for (const std::string& name : names) {
    progress.advance();
    try {
      const auto domain = store.read(name).domain;
      if (!domain) {
        continue;
      }
      domains.insert(printableText(*domain, 80));
      const auto found = wanted->find(lowerCase(*domain));
      if (found != wanted->end()) {
        found->second.push_back(name);
      }
    } catch (const std::runtime_error&) {
      continue;  // what cannot be read has no domain to go by
    }
  }
  return domains;
}

[[noreturn]] void refuseAmbiguous(const std::string& id, const Names& names) {
  constexpr std::size_t shown = 10;
  std::string list;
  for (std::size_t i = 0; i < std::min(names.size(), shown); ++i) {
    list += (i == 0 ? "" : ", ") + printableText(names[i], 80);
  }
  refuse(fmt::format("'{}' means {} decisions: {}{}; give the name of one file", printableText(id),
                     names.size(), list, names.size() > shown ? " and more" : ""));
}

ExceptionRecord readChosen(const ExceptionStore& store, const std::string& name) {
  try {
    return store.read(name);
  } catch (const std::runtime_error& error) {
    throw CommandError(
        ExitStatus::undecided,
        fmt::format("'{}' cannot be read: {}; to set it aside: trustctl exceptions doctor --repair",
                    printableText(name), printableText(error.what(), 300)));
  }
}

std::vector<StoredRecord> findNow(const ExceptionStore& store,
                                  const std::vector<std::string>& ids) {
  const Names names = store.fileNames();
  NamesByDomain wanted;
  for (const std::string& id : ids) {
    if (byName(names, id).empty()) {
      wanted[lowerCase(id)];
    }
  }
  std::set<std::string> domains;
  if (!wanted.empty()) {
    domains = searchDomains(store, names, &wanted);
  }
  std::vector<StoredRecord> records;
  std::set<std::string> taken;
  for (const std::string& id : ids) {
    Names found = byName(names, id);
    if (found.empty()) {
      found = wanted[lowerCase(id)];
    }
    if (found.empty()) {
      refuse(
          fmt::format("no stored decision is called '{}'{}; see them with: trustctl exceptions "
                      "list",
                      printableText(id), didYouMean(id, {domains.begin(), domains.end()})));
    }
    if (found.size() > 1) {
      refuseAmbiguous(id, found);
    }
    if (taken.insert(found.front()).second) {
      records.push_back({found.front(), readChosen(store, found.front())});
    }
  }
  return records;
}

}  // namespace

std::vector<StoredRecord> findRecords(const ExceptionStore& store,
                                      const std::vector<std::string>& ids) {
  std::vector<StoredRecord> records;
  whileStill(store, [&] { records = findNow(store, ids); });
  return records;
}
