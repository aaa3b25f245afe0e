#include "services/certmgr/NameReduction.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "services/common/LowerCase.h"

namespace {

constexpr std::string_view kDnsPrefix = "DNS:";

bool isDns(const std::string& name) {
  return name.starts_with(kDnsPrefix);
}

// A name in two: its first label, which has at least one byte, and what follows the dot.
struct SplitName {
  std::string first;
  std::string rest;
};

// Nothing for a name of one label, and for odd ones: a client trims spaces and skips empty
// labels, so what such a name covers is better left alone.
std::optional<SplitName> split(const std::string& entry) {
  if (!isDns(entry)) return {};
  std::string name = lowerCase(std::string_view(entry).substr(kDnsPrefix.size()));
  const std::size_t dot = name.find('.');
  if (dot == 0 || dot == std::string::npos || name.back() == '.' ||
      name.find("..") != std::string::npos || name.find(' ') != std::string::npos) {
    return {};
  }
  return SplitName{name.substr(0, dot), name.substr(dot + 1)};
}

bool looksLikeAddress(const std::string& rest) {
  const std::size_t dot = rest.rfind('.');
  const char start = rest[dot == std::string::npos ? 0 : dot + 1];
  return start >= '0' && start <= '9';
}

// The wildcards of one answer.
class Wildcards {
 public:
  explicit Wildcards(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
      auto parts = split(name);
      if (!parts || parts->first.find('*') != parts->first.size() - 1) continue;
      if (looksLikeAddress(parts->rest)) continue;
      parts->first.pop_back();
      starts_[parts->rest].insert(std::move(parts->first));
    }
    for (auto& [rest, starts] : starts_) keepShortest(starts);
  }

  bool cover(const std::string& entry) const {
    const auto parts = split(entry);
    if (!parts || entry.find('*') != std::string::npos) return false;
    const auto found = starts_.find(parts->rest);
    if (found == starts_.end()) return false;
    // No start begins another one, so only the last that sorts before the label can begin it.
    const auto after = found->second.upper_bound(parts->first);
    return after != found->second.begin() && parts->first.starts_with(*std::prev(after));
  }

 private:
  static void keepShortest(std::set<std::string>& starts) {
    for (auto at = starts.begin(); at != starts.end(); ++at) {
      auto next = std::next(at);
      while (next != starts.end() && next->starts_with(*at)) next = starts.erase(next);
    }
  }

  // What stands before the star, by what follows the first label.
  std::unordered_map<std::string, std::set<std::string>> starts_;
};

}  // namespace

std::size_t countDnsNames(const std::vector<std::string>& names) {
  return static_cast<std::size_t>(std::count_if(names.begin(), names.end(), isDns));
}

void dropOtherNames(std::vector<std::string>& names) {
  std::erase_if(names, [](const std::string& name) { return !isDns(name); });
}

void dropDuplicateNames(std::vector<std::string>& names) {
  std::unordered_set<std::string> seen;
  std::erase_if(names,
                [&](const std::string& name) { return !seen.insert(lowerCase(name)).second; });
}

void dropCoveredNames(std::vector<std::string>& names) {
  const Wildcards wildcards(names);
  std::erase_if(names, [&](const std::string& name) { return wildcards.cover(name); });
}
