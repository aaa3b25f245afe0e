#include "tools/trustctl/exceptions/DomainPattern.h"

#include <cstddef>

#include "services/common/LowerCase.h"

DomainPattern::DomainPattern(std::string_view pattern) : pattern_(lowerCase(pattern)) {}

// Of several stars only the last one passed can have taken too little, so that going back to it
// is enough, and no pattern takes long.
bool DomainPattern::matches(const std::optional<std::string>& domain) const {
  if (!domain) {
    return false;
  }
  const std::string text = lowerCase(*domain);
  std::size_t at = 0;
  std::size_t t = 0;
  std::size_t star = std::string::npos;
  std::size_t taken = 0;
  while (t < text.size()) {
    if (at < pattern_.size() && pattern_[at] == '*') {
      star = at++;
      taken = t;
    } else if (at < pattern_.size() && (pattern_[at] == '?' || pattern_[at] == text[t])) {
      ++at;
      ++t;
    } else if (star != std::string::npos) {
      at = star + 1;
      t = ++taken;
    } else {
      return false;
    }
  }
  return pattern_.find_first_not_of('*', at) == std::string::npos;
}
