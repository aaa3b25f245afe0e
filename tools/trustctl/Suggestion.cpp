#include "tools/trustctl/Suggestion.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

#include <fmt/format.h>

namespace {

// Longer words are not names of ours; this also bounds the work.
constexpr std::size_t longestWord = 64;

// Insertions, deletions, replacements and swaps of neighbours that lead from one to the other.
std::size_t editDistance(const std::string& from, const std::string& to) {
  std::vector<std::size_t> beforeLast(to.size() + 1);
  std::vector<std::size_t> last(to.size() + 1);
  std::iota(last.begin(), last.end(), std::size_t{0});
  std::vector<std::size_t> current(to.size() + 1);
  for (std::size_t i = 1; i <= from.size(); ++i) {
    current[0] = i;
    for (std::size_t j = 1; j <= to.size(); ++j) {
      const std::size_t replaced = last[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
      current[j] = std::min({last[j] + 1, current[j - 1] + 1, replaced});
      if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1]) {
        current[j] = std::min(current[j], beforeLast[j - 2] + 1);
      }
    }
    beforeLast.swap(last);
    last.swap(current);
  }
  return last[to.size()];
}

}  // namespace

std::string comparableWord(std::string_view word) {
  std::string out(word);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') {
      c = static_cast<char>(c - 'A' + 'a');
    } else if (c == '-') {
      c = '_';
    }
  }
  return out;
}

std::string nearestWord(std::string_view word, const std::vector<std::string>& candidates) {
  if (word.empty() || word.size() > longestWord) {
    return {};
  }
  const std::string wanted = comparableWord(word);
  std::string best;
  std::size_t bestDistance = std::max<std::size_t>(2, word.size() / 2) + 1;
  for (const std::string& candidate : candidates) {
    const std::string name = comparableWord(candidate);
    // A front part of a name, long enough to mean something, is as good as one slip.
    const bool isStart = wanted.size() >= 3 && name.compare(0, wanted.size(), wanted) == 0;
    const std::size_t distance = isStart ? 1 : editDistance(wanted, name);
    if (distance < bestDistance) {
      bestDistance = distance;
      best = candidate;
    }
  }
  return best;
}

std::string didYouMean(std::string_view word, const std::vector<std::string>& candidates) {
  const std::string nearest = nearestWord(word, candidates);
  return nearest.empty() ? std::string() : fmt::format(" (did you mean {}?)", nearest);
}
