#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_DOMAINPATTERN_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_DOMAINPATTERN_H

#include <optional>
#include <string>
#include <string_view>

// Which domains are meant, as a shell means files: "*" stands for anything, dots included, "?"
// for one byte; letter case does not matter. A decision without a domain is never meant.
class DomainPattern {
 public:
  explicit DomainPattern(std::string_view pattern);

  bool matches(const std::optional<std::string>& domain) const;

 private:
  std::string pattern_;
};

#endif
