#include "platform/ppscodec/Decoder.h"

#include <cstring>
#include <utility>

#include "platform/ppscodec/AttributeText.h"
#include "platform/ppscodec/JsonText.h"

namespace ppscodec {

int Decoder::parse(char* text, Form form) {
  // The text of an earlier parse may be gone already: forget what points there.
  parsed_ = false;
  levels_.clear();
  tree_ = Tree();
  if (strnlen(text, PPS_MAX_LENGTH + 1) > PPS_MAX_LENGTH) return PPS_TOO_BIG;

  TreeBuilder builder;
  const int result =
      form == Form::Json ? parseJsonText(text, builder) : parseAttributeText(text, builder);
  if (result != PPS_OK) return result;
  tree_ = builder.take();
  parsed_ = true;
  return PPS_OK;
}

int Decoder::push(const char* name) {
  const Node* node = nullptr;
  const int result = find(name, &node);
  if (result != PPS_OK) return result;
  if (node->kind != Kind::Object && node->kind != Kind::Array) return PPS_WRONG_KIND;
  levels_.reserve(levels_.size() + 1);
  // The outer level moves on now, so that pop has nothing to remember.
  moveOn(name);
  levels_.push_back({node, 0});
  return PPS_OK;
}

int Decoder::pop() {
  if (levels_.empty()) return PPS_BAD_STATE;
  levels_.pop_back();
  return PPS_OK;
}

int Decoder::length() const {
  return levels_.empty() ? 0 : static_cast<int>(levels_.back().container->count);
}

int Decoder::getBool(const char* name, bool* out) {
  const Node* node = nullptr;
  const int result = find(name, &node);
  if (result != PPS_OK) return result;
  if (node->kind != Kind::Bool) return PPS_WRONG_KIND;
  *out = node->boolean;
  moveOn(name);
  return PPS_OK;
}

int Decoder::getInt(const char* name, int* out) {
  const Node* node = nullptr;
  const int result = find(name, &node);
  if (result != PPS_OK) return result;
  if (node->kind == Kind::LargeInt) return PPS_OUT_OF_RANGE;
  if (node->kind != Kind::Int) return PPS_WRONG_KIND;
  *out = node->integer;
  moveOn(name);
  return PPS_OK;
}

int Decoder::getString(const char* name, const char** out) {
  const Node* node = nullptr;
  const int result = find(name, &node);
  if (result != PPS_OK) return result;
  if (node->kind != Kind::String) return PPS_WRONG_KIND;
  *out = node->string;
  moveOn(name);
  return PPS_OK;
}

int Decoder::gotoIndex(int index) {
  if (!parsed_) return PPS_BAD_STATE;
  if (index < 0 || index >= length()) return PPS_ABSENT;
  levels_.back().current = static_cast<std::uint32_t>(index);
  return PPS_OK;
}

int Decoder::describeCurrent(pps_decoder_state_t* state) const {
  const bool inArray = !levels_.empty() && levels_.back().container->kind == Kind::Array;
  *state = {nullptr, nullptr, inArray};
  const Node* node = nullptr;
  const int result = find(nullptr, &node);
  if (result == PPS_ABSENT) return PPS_OK;
  if (result != PPS_OK) return result;
  *state = {node->name, node->string, inArray};
  return PPS_OK;
}

// The member of that name, or the current member or element for a null name.
// Outside, the top-level value is the only element.
int Decoder::find(const char* name, const Node** out) const {
  if (!parsed_) return PPS_BAD_STATE;
  if (levels_.empty()) {
    *out = &tree_.root();
    return name == nullptr ? PPS_OK : PPS_ABSENT;
  }
  const Level& level = levels_.back();
  if (name == nullptr) {
    if (level.current == level.container->count) return PPS_ABSENT;
    *out = &tree_.child(*level.container, level.current);
    return PPS_OK;
  }
  if (level.container->kind != Kind::Object) return PPS_ABSENT;
  for (std::uint32_t i = 0; i < level.container->count; ++i) {
    const Node& member = tree_.child(*level.container, i);
    if (std::strcmp(member.name, name) != 0) continue;
    *out = &member;
    return PPS_OK;
  }
  return PPS_ABSENT;
}

void Decoder::moveOn(const char* name) {
  if (name == nullptr && !levels_.empty()) ++levels_.back().current;
}

}  // namespace ppscodec
