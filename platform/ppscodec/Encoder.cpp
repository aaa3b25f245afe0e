#include "platform/ppscodec/Encoder.h"

#include <algorithm>

#include "platform/ppscodec/AttributeText.h"
#include "platform/ppscodec/ControlBytes.h"

namespace ppscodec {
namespace {

constexpr std::string_view plain;
constexpr std::string_view json = "json";

bool needsEscape(char byte) {
  return byte == '"' || byte == '\\' || isControl(byte);
}

void appendEscape(char byte, std::string& text) {
  constexpr char hex[] = "0123456789abcdef";
  constexpr std::string_view bytes = "\"\\\b\f\n\r\t";
  constexpr std::string_view letters = "\"\\bfnrt";
  text += '\\';
  const std::size_t index = bytes.find(byte);
  if (index != std::string_view::npos) {
    text += letters[index];
    return;
  }
  const auto value = static_cast<unsigned char>(byte);
  text += "u00";
  text += hex[value >> 4U];
  text += hex[value & 0xfU];
}

}  // namespace

int Encoder::addString(const char* name, const char* value) {
  const int result = admit(Kind::Scalar, name);
  if (result != PPS_OK) return result;
  const std::string_view bytes = value;
  if (isAttributeLevel() && std::none_of(bytes.begin(), bytes.end(), isControl)) {
    writeName(name, plain);
    text_ += bytes;
  } else {
    writeName(name, json);
    writeQuoted(bytes);
  }
  return finishValue();
}

int Encoder::addInt(const char* name, int value) {
  return addLiteral(name, std::to_string(value));
}

int Encoder::addBool(const char* name, bool value) {
  return addLiteral(name, value ? "true" : "false");
}

int Encoder::addLiteral(const char* name, std::string_view literal) {
  const int result = admit(Kind::Scalar, name);
  if (result != PPS_OK) return result;
  writeName(name, json);
  text_ += literal;
  return finishValue();
}

int Encoder::start(Kind kind, const char* name) {
  const int result = admit(kind, name);
  if (result != PPS_OK) return result;
  if (levels_.size() == PPS_MAX_DEPTH) return PPS_TOO_DEEP;
  writeName(name, json);
  levels_.push_back({kind, true, {}});
  if (!isAttributeLevel()) text_ += kind == Kind::Object ? '{' : '[';
  return PPS_OK;
}

int Encoder::end(Kind kind) {
  if (levels_.empty() || levels_.back().kind != kind) return PPS_BAD_STATE;
  if (!isAttributeLevel()) text_ += kind == Kind::Object ? '}' : ']';
  levels_.pop_back();
  return finishValue();
}

// Whether such a value of that name may come next; books the name if so.
int Encoder::admit(Kind kind, const char* name) {
  if (done_) return PPS_BAD_STATE;
  if (!json_ && levels_.empty() && kind != Kind::Object) return PPS_BAD_STATE;
  const bool named = !levels_.empty() && levels_.back().kind == Kind::Object;
  if (named != (name != nullptr)) return PPS_BAD_NAME;
  if (!named) return PPS_OK;
  if (isAttributeLevel() && !isAttributeName(name)) return PPS_BAD_NAME;
  return levels_.back().names.insert(name).second ? PPS_OK : PPS_DUPLICATE;
}

// Writes all that stands before a value; `encoding` matters to attributes alone.
void Encoder::writeName(const char* name, std::string_view encoding) {
  if (levels_.empty()) return;
  if (isAttributeLevel()) {
    text_.append(name).append(":").append(encoding).append(":");
    return;
  }
  if (!levels_.back().empty) text_ += ',';
  levels_.back().empty = false;
  if (name == nullptr) return;
  writeQuoted(name);
  text_ += ':';
}

void Encoder::writeQuoted(std::string_view bytes) {
  text_ += '"';
  for (auto next = bytes.begin(); next != bytes.end();) {
    const auto stop = std::find_if(next, bytes.end(), needsEscape);
    text_.append(next, stop);
    if (stop == bytes.end()) break;
    appendEscape(*stop, text_);
    next = stop + 1;
  }
  text_ += '"';
}

int Encoder::finishValue() {
  done_ = levels_.empty();
  if (isAttributeLevel()) text_ += '\n';
  return text_.size() > PPS_MAX_LENGTH ? PPS_TOO_BIG : PPS_OK;
}

}  // namespace ppscodec
