#include "services/certmgr/path/PrefixSet.h"

#include <algorithm>
#include <utility>

void PrefixSet::add(std::string prefix, std::size_t tag) {
  entries_.push_back({std::move(prefix), tag});
}

void PrefixSet::seal() {
  std::stable_sort(entries_.begin(), entries_.end(),
                   [](const Entry& a, const Entry& b) { return a.prefix < b.prefix; });
  // What starts with a string follows right after it.
  std::vector<Entry> kept;
  for (Entry& entry : entries_) {
    if (kept.empty() || !entry.prefix.starts_with(kept.back().prefix)) {
      kept.push_back(std::move(entry));
    }
  }
  entries_ = std::move(kept);
}

// No entry starts with another one, so between a prefix of `text` and `text` itself, in sorting
// order, there can be no third: it would have to start with that prefix.

std::size_t PrefixSet::findPrefixOf(std::string_view text) const {
  const auto after =
      std::upper_bound(entries_.begin(), entries_.end(), text,
                       [](std::string_view t, const Entry& entry) { return t < entry.prefix; });
  if (after == entries_.begin()) return kNone;
  const Entry& last = *(after - 1);
  return text.starts_with(last.prefix) ? last.tag : kNone;
}

std::size_t PrefixSet::findProperPrefixOf(std::string_view text) const {
  const auto notBefore =
      std::lower_bound(entries_.begin(), entries_.end(), text,
                       [](const Entry& entry, std::string_view t) { return entry.prefix < t; });
  if (notBefore == entries_.begin()) return kNone;
  const Entry& last = *(notBefore - 1);
  return text.starts_with(last.prefix) ? last.tag : kNone;
}

std::size_t PrefixSet::findStartingWith(std::string_view text) const {
  const auto notBefore =
      std::lower_bound(entries_.begin(), entries_.end(), text,
                       [](const Entry& entry, std::string_view t) { return entry.prefix < t; });
  if (notBefore == entries_.end() || !notBefore->prefix.starts_with(text)) return kNone;
  return notBefore->tag;
}
