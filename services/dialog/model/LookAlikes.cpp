#include "services/dialog/model/LookAlikes.h"

#include <algorithm>
#include <cstdint>

#include <unicode/uspoof.h>
#include <unicode/utf8.h>

LookAlikes::LookAlikes() {
  UErrorCode status = U_ZERO_ERROR;
  checker_ = uspoof_open(&status);
  uspoof_setChecks(
      checker_,
      USPOOF_RESTRICTION_LEVEL | USPOOF_MIXED_NUMBERS | USPOOF_INVISIBLE | USPOOF_HIDDEN_OVERLAY,
      &status);
  uspoof_setRestrictionLevel(checker_, USPOOF_HIGHLY_RESTRICTIVE);
}

LookAlikes::~LookAlikes() {
  uspoof_close(checker_);
}

bool LookAlikes::mixesScripts(const std::string& word) const {
  return (check(word) & (USPOOF_RESTRICTION_LEVEL | USPOOF_MIXED_NUMBERS)) != 0;
}

bool LookAlikes::hides(const std::string& word) const {
  return (check(word) & (USPOOF_INVISIBLE | USPOOF_HIDDEN_OVERLAY)) != 0;
}

// An ASCII character stands for itself, so that "m" does not come out as its likeness "rn".
std::string LookAlikes::twinOf(const std::string& word) const {
  if (isAscii(word)) return {};
  std::string twin;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(word.data());
  const auto length = static_cast<std::int32_t>(word.size());
  for (std::int32_t at = 0; at < length;) {
    const std::int32_t start = at;
    U8_FWD_1(bytes, at, length);
    const std::string character =
        word.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(at - start));
    const std::string shown = isAscii(character) ? character : skeletonOf(character);
    if (shown.empty() || !isAscii(shown)) return {};
    twin += shown;
  }
  return twin;
}

int LookAlikes::check(const std::string& word) const {
  UErrorCode status = U_ZERO_ERROR;
  const std::int32_t found = uspoof_check2UTF8(
      checker_, word.data(), static_cast<std::int32_t>(word.size()), nullptr, &status);
  return U_FAILURE(status) ? 0 : found;
}

std::string LookAlikes::skeletonOf(const std::string& character) const {
  UErrorCode status = U_ZERO_ERROR;
  char skeleton[128];
  const std::int32_t length = uspoof_getSkeletonUTF8(
      checker_, 0, character.data(), static_cast<std::int32_t>(character.size()), skeleton,
      static_cast<std::int32_t>(sizeof skeleton), &status);
  if (U_FAILURE(status)) return {};
  return {skeleton, static_cast<std::size_t>(length)};
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}
