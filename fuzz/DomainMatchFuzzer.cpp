// Which domains a certificate covers. The first line of the input is the domain, the others are
// names: common ones after "CN:", alternative ones as they stand.

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <list>
#include <sstream>
#include <string>

#include "fuzz/Property.h"
#include "trustlib/CertificateUtilities.h"
#include "trustlib/util/StringUtilities.h"

namespace {

using Names = std::list<std::string>;

struct Question {
  std::string domain;
  Names commonNames;
  Names altNames;

  bool matches() const {
    return CertificateUtilities::certificateDomainMatches(&domain, &commonNames, &altNames);
  }
};

Question questionOf(const std::string& text) {
  Question question;
  std::istringstream lines(text);
  std::getline(lines, question.domain);
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("CN:", 0) == 0) {
      question.commonNames.push_back(line.substr(3));
    } else {
      question.altNames.push_back(line);
    }
  }
  return question;
}

void raise(std::string& text, std::size_t from = 0) {
  std::for_each(text.begin() + static_cast<std::ptrdiff_t>(from), text.end(), [](char& c) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  });
}

Question reversed(Question question) {
  question.commonNames.reverse();
  question.altNames.reverse();
  return question;
}

Question inUpperCase(Question question) {
  raise(question.domain);
  for (std::string& name : question.commonNames) raise(name);
  for (std::string& name : question.altNames) {
    if (name.rfind("DNS:", 0) == 0) raise(name, 4);  // the prefix is no part of the name
  }
  return question;
}

Names labelsOf(std::string text) {
  StringUtilities::tolower(text);
  Names labels;
  StringUtilities::tokenize(&text, ".", labels);
  return labels;
}

// Said in another way than the library does.
bool covers(const std::string& name, const std::string& domain) {
  std::string lowerName = name;
  std::string lowerDomain = domain;
  StringUtilities::tolower(lowerName);
  StringUtilities::tolower(lowerDomain);
  if (domain.empty()) return false;
  if (lowerName == lowerDomain) return true;
  Names pattern = labelsOf(name);
  Names labels = labelsOf(domain);
  if (pattern.empty() || pattern.size() != labels.size()) return false;
  std::string first = pattern.front();
  const std::string last = pattern.back();
  if (first.find('*') != first.size() - 1 || (last[0] >= '0' && last[0] <= '9')) return false;
  first.pop_back();
  const bool startsAlike = labels.front().rfind(first, 0) == 0;
  pattern.pop_front();
  labels.pop_front();
  return startsAlike && pattern == labels;
}

bool expected(const Question& question) {
  Names names;
  for (const std::string& name : question.altNames) {
    if (name.rfind("DNS:", 0) == 0) names.push_back(name.substr(4));
  }
  if (names.empty()) names = question.commonNames;
  return std::any_of(names.begin(), names.end(),
                     [&](const std::string& name) { return covers(name, question.domain); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Question question = questionOf({reinterpret_cast<const char*>(data), size});
  const bool matches = question.matches();
  require(reversed(question).matches() == matches, "the order of names does not matter");
  require(inUpperCase(question).matches() == matches, "the case of letters does not matter");
  require(matches == expected(question), "a name covers itself, or one label by its star");
  return 0;
}
