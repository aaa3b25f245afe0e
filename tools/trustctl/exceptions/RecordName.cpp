#include "tools/trustctl/exceptions/RecordName.h"

#include <fmt/format.h>

namespace {

constexpr std::string_view prefix = "cx_";
constexpr std::string_view extension = ".json";
constexpr std::size_t hashLength = 40;
constexpr std::size_t nameLength = prefix.size() + hashLength + 2 + extension.size();

}  // namespace

std::optional<RecordName> parseRecordName(std::string_view fileName) {
  if (fileName.size() != nameLength || fileName.substr(0, prefix.size()) != prefix ||
      fileName.substr(nameLength - extension.size()) != extension) {
    return {};
  }
  const std::string_view hash = fileName.substr(prefix.size(), hashLength);
  const char separator = fileName[prefix.size() + hashLength];
  const char digit = fileName[prefix.size() + hashLength + 1];
  if (hash.find_first_not_of("0123456789abcdef") != std::string_view::npos || separator != '_' ||
      digit < '0' || digit > '9') {
    return {};
  }
  return RecordName{std::string(hash), digit - '0'};
}

std::string fileNameOf(const RecordName& name) {
  return fmt::format("{}{}_{}{}", prefix, name.hash, name.number, extension);
}
