#include "services/dialog/model/DomainMatch.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

std::string toLower(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

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

bool isWellFormed(const CertificateName& name) {
  const bool ascii = name.kind == CertificateName::Kind::dns;
  return std::none_of(name.text.begin(), name.text.end(), [ascii](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f || byte == '\\' || (ascii && byte >= 0x80);
  });
}

bool wildcardCovers(std::string_view name, std::string_view domain) {
  const auto pattern = labelsOf(name);
  const auto labels = labelsOf(domain);
  if (pattern.empty() || pattern.size() != labels.size()) return false;
  const std::string_view first = pattern.front();
  if (first.find('*') != first.size() - 1) return false;
  const char lastLead = pattern.back().front();
  if (lastLead >= '0' && lastLead <= '9') return false;  // it ends like an address
  return std::equal(pattern.begin() + 1, pattern.end(), labels.begin() + 1) &&
         labels.front().substr(0, first.size() - 1) == first.substr(0, first.size() - 1);
}

}  // namespace

bool nameCoversDomain(const CertificateName& name, std::string_view domain) {
  if (domain.empty() || !isWellFormed(name)) return false;
  const std::string lowerName = toLower(name.text);
  const std::string lowerDomain = toLower(domain);
  if (lowerName == lowerDomain) return true;
  return lowerName.find('*') != std::string::npos && wildcardCovers(lowerName, lowerDomain);
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
