#include "services/dialog/model/DomainMatch.h"

#include <algorithm>
#include <string>
#include <vector>

#include "services/common/LowerCase.h"

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kWhiteSpace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

// The labels between the dots; an empty one is none.
std::vector<std::string_view> labelsOf(std::string_view name) {
  std::vector<std::string_view> labels;
  while (!name.empty()) {
    const std::size_t end = std::min(name.find('.'), name.size());
    const std::string_view label = trimmed(name.substr(0, end));
    if (!label.empty()) labels.push_back(label);
    name.remove_prefix(std::min(end + 1, name.size()));
  }
  return labels;
}

// A control character from U+0080 on, in UTF-8.
bool isLateControl(std::string_view text, std::size_t at) {
  return text[at] == '\xc2' && at + 1 < text.size() &&
         static_cast<unsigned char>(text[at + 1]) < 0xa0;
}

bool isWellFormed(const CertificateName& name) {
  const bool ascii = name.kind == CertificateName::Kind::dns;
  for (std::size_t i = 0; i < name.text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(name.text[i]);
    if (byte < 0x20 || byte == 0x7f || byte == '\\' || (ascii && byte >= 0x80) ||
        isLateControl(name.text, i)) {
      return false;
    }
  }
  return true;
}

using Labels = std::vector<std::string_view>;

NameMatch compared(NameReason reason, const Labels& name, const Labels& domain) {
  return {reason, name.size(), domain.size()};
}

NameMatch differing(NameReason reason, const Labels& name, const Labels& domain, std::size_t at) {
  return {reason, name.size(), domain.size(), std::string(name[at]), std::string(domain[at])};
}

// From label `first` on, as long as there are as many of them. What is left where all are equal
// is up to the caller.
NameMatch compareLabels(const Labels& name, const Labels& domain, std::size_t first) {
  if (name.size() != domain.size()) {
    return compared(NameReason::otherLabelCount, name, domain);
  }
  for (std::size_t i = first; i < name.size(); ++i) {
    if (name[i] != domain[i]) return differing(NameReason::otherLabel, name, domain, i);
  }
  return compared(NameReason::covers, name, domain);
}

NameMatch matchWildcard(const Labels& name, const Labels& domain) {
  const std::string_view first = name.front();
  if (first.find('*') != first.size() - 1) {
    return compared(NameReason::starElsewhere, name, domain);
  }
  const char lastLead = name.back().front();
  if (lastLead >= '0' && lastLead <= '9') {
    return compared(NameReason::endsLikeAddress, name, domain);
  }
  NameMatch rest = compareLabels(name, domain, 1);
  if (rest.reason != NameReason::covers) return rest;
  const std::string_view start = first.substr(0, first.size() - 1);
  if (domain.front().substr(0, start.size()) == start) return rest;
  return differing(NameReason::otherStart, name, domain, 0);
}

}  // namespace

NameMatch matchName(const CertificateName& name, std::string_view domain) {
  const std::string lowerName = lowerCase(name.text);
  const std::string lowerDomain = lowerCase(domain);
  const Labels nameLabels = labelsOf(lowerName);
  const Labels domainLabels = labelsOf(lowerDomain);
  if (name.text.empty() || !isWellFormed(name)) {
    return compared(NameReason::malformed, nameLabels, domainLabels);
  }
  if (lowerName == lowerDomain) return compared(NameReason::covers, nameLabels, domainLabels);
  if (lowerName.find('*') != std::string::npos) return matchWildcard(nameLabels, domainLabels);
  NameMatch match = compareLabels(nameLabels, domainLabels, 0);
  if (match.reason == NameReason::covers) match.reason = NameReason::otherSpelling;
  return match;
}

NameMatch matchNameOf(const CertificateNames& names, const CertificateName& name,
                      std::string_view domain) {
  using Kind = CertificateName::Kind;
  if (isNameOfServer(names, name)) return matchName(name, domain);
  return {name.kind == Kind::commonName ? NameReason::notLookedAt : NameReason::otherKind};
}

bool nameCoversDomain(const CertificateName& name, std::string_view domain) {
  return matchName(name, domain).reason == NameReason::covers;
}

bool isNameOfServer(const CertificateNames& names, const CertificateName& name) {
  using Kind = CertificateName::Kind;
  if (name.kind == Kind::dns) return true;
  // Unreadable alternative names might have held DNS names.
  return name.kind == Kind::commonName && !names.unreadable &&
         std::none_of(names.names.begin(), names.names.end(),
                      [](const CertificateName& other) { return other.kind == Kind::dns; });
}

bool coversDomain(const CertificateNames& names, std::string_view domain) {
  return std::any_of(names.names.begin(), names.names.end(), [&](const CertificateName& name) {
    return nameCoversDomain(name, domain) && isNameOfServer(names, name);
  });
}
