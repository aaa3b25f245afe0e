#include "services/common/TextReader.h"

#include <stdexcept>
#include <utility>

TextReader::TextReader(const std::string& text, Form form, std::string what)
    : what_(std::move(what)), text_(text) {
  if (text_.find('\0') != std::string::npos) {
    throw std::runtime_error(what_ + " holds a NUL byte");
  }
  pps_decoder_initialize(&decoder_, nullptr);
  int result = form == Form::json ? pps_decoder_parse_json_str(&decoder_, text_.data())
                                  : pps_decoder_parse_pps_str(&decoder_, text_.data());
  if (result == PPS_OK) result = pps_decoder_push(&decoder_, nullptr);
  if (result == PPS_OK) return;
  pps_decoder_cleanup(&decoder_);
  if (result == PPS_DUPLICATE) {
    throw std::runtime_error(what_ + " has two members of one name");
  }
  if (result == PPS_TOO_DEEP || result == PPS_TOO_BIG) {
    throw std::runtime_error(what_ + " is too large");
  }
  throw std::runtime_error(what_ +
                           (form == Form::json ? " is no JSON object" : " is no attribute text"));
}

TextReader::~TextReader() {
  pps_decoder_cleanup(&decoder_);
}

void TextReader::fail(const char* name, int result, const char* kind) const {
  const std::string member = name == nullptr ? "an element" : "\"" + std::string(name) + "\"";
  if (result == PPS_ABSENT) throw std::runtime_error(what_ + " has no " + kind + " " + member);
  throw std::runtime_error(member + " of " + what_ + " is no " + kind);
}

bool TextReader::isThere(const char* name, int result, const char* kind) const {
  if (result == PPS_ABSENT) return false;
  if (result != PPS_OK) fail(name, result, kind);
  return true;
}

std::optional<std::string> TextReader::optionalString(const char* name) {
  const char* value = nullptr;
  if (!isThere(name, pps_decoder_get_string(&decoder_, name, &value), "string")) return {};
  return value;
}

std::optional<bool> TextReader::optionalBool(const char* name) {
  bool value = false;
  if (!isThere(name, pps_decoder_get_bool(&decoder_, name, &value), "true or false")) return {};
  return value;
}

std::optional<std::vector<std::string>> TextReader::optionalStrings(const char* name) {
  constexpr const char* kKind = "array of strings";
  if (!isThere(name, pps_decoder_push(&decoder_, name), kKind)) return {};
  std::vector<std::string> all;
  for (std::size_t left = count(); left > 0; --left) {
    const char* value = nullptr;
    const int result = pps_decoder_get_string(&decoder_, nullptr, &value);
    // An object's members would be read by the same calls, in their order.
    pps_decoder_state_t state = {};
    pps_decoder_get_state(&decoder_, &state);
    if (result != PPS_OK || !state.in_array) fail(name, PPS_WRONG_KIND, kKind);
    all.emplace_back(value);
  }
  leave();
  return all;
}

std::string TextReader::string(const char* name) {
  auto value = optionalString(name);
  if (!value) fail(name, PPS_ABSENT, "string");
  return *std::move(value);
}

bool TextReader::boolean(const char* name) {
  const auto value = optionalBool(name);
  if (!value) fail(name, PPS_ABSENT, "true or false");
  return *value;
}

int TextReader::integer(const char* name) {
  int value = 0;
  const int result = pps_decoder_get_int(&decoder_, name, &value);
  if (result != PPS_OK) fail(name, result, "whole number");
  return value;
}

void TextReader::enter(const char* name) {
  const int result = pps_decoder_push(&decoder_, name);
  if (result != PPS_OK) fail(name, result, "object or array");
}

void TextReader::leave() {
  const int result = pps_decoder_pop(&decoder_);
  if (result != PPS_OK) throw std::runtime_error(what_ + " ends before its outermost object");
}

std::size_t TextReader::count() {
  return static_cast<std::size_t>(pps_decoder_length(&decoder_));
}

std::vector<std::string> TextReader::memberNames() {
  std::vector<std::string> names;
  pps_decoder_state_t state = {};
  for (int i = 0; pps_decoder_goto_index(&decoder_, i) == PPS_OK; ++i) {
    pps_decoder_get_state(&decoder_, &state);
    if (state.name != nullptr) names.emplace_back(state.name);
  }
  return names;
}
