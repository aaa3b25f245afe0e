#include "platform/ppscodec/Tree.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <system_error>
#include <utility>

#include "platform/ppscodec/ppscodec.h"

namespace ppscodec {
namespace {

// A C string ends at its first NUL, so a string with one inside would come out
// shortened without a word.
bool holdsNul(const char* bytes, std::size_t length) {
  return std::memchr(bytes, '\0', length) != nullptr;
}

// The exponent behind the `e` of a number, held within what no number needs.
long long exponentOf(std::string_view digits) {
  constexpr long long limit = std::numeric_limits<int>::max();
  if (digits.front() == '+') digits.remove_prefix(1);
  long long exponent = 0;
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
  if (read.ec == std::errc::result_out_of_range) return digits.front() == '-' ? -limit : limit;
  return std::clamp(exponent, -limit, limit);
}

// Whether a number's magnitude passes every finite double. from_chars cannot
// tell that alone: it reports numbers too small in the same way.
bool passesDouble(std::string_view number) {
  const std::size_t mark = number.find_first_of("eE");
  const std::string_view mantissa = number.substr(0, mark);
  const std::size_t leading = mantissa.find_first_of("123456789");
  if (leading == std::string_view::npos) return false;
  const auto point = static_cast<long long>(std::min(mantissa.find('.'), mantissa.size()));
  const auto place = point - static_cast<long long>(leading);
  const long long exponent =
      mark == std::string_view::npos ? 0 : exponentOf(number.substr(mark + 1));
  // The decimal exponent of the leading digit: 2 for 314.15, -1 for 0.5.
  const long long magnitude = (place > 0 ? place - 1 : place) + exponent;
  if (magnitude != std::numeric_limits<double>::max_exponent10) {
    return magnitude > std::numeric_limits<double>::max_exponent10;
  }
  double value = 0;
  const auto read = std::from_chars(number.data(), number.data() + number.size(), value);
  return read.ec != std::errc() || std::isinf(value);
}

}  // namespace

int TreeBuilder::startObject() {
  return start(Kind::Object);
}

int TreeBuilder::startArray() {
  return start(Kind::Array);
}

int TreeBuilder::endObject() {
  if (hasDuplicateNames()) return PPS_DUPLICATE;
  closeContainer();
  return PPS_OK;
}

int TreeBuilder::endArray() {
  closeContainer();
  return PPS_OK;
}

int TreeBuilder::addName(const char* name, std::size_t length) {
  if (holdsNul(name, length)) return PPS_BAD_STRING;
  name_ = name;
  return PPS_OK;
}

int TreeBuilder::addNull() {
  return add(Node());
}

int TreeBuilder::addBool(bool value) {
  Node node;
  node.kind = Kind::Bool;
  node.boolean = value;
  return add(node);
}

int TreeBuilder::addString(const char* string, std::size_t length) {
  if (holdsNul(string, length)) return PPS_BAD_STRING;
  Node node;
  node.kind = Kind::String;
  node.string = string;
  return add(node);
}

int TreeBuilder::addNumber(std::string_view number) {
  if (passesDouble(number)) return PPS_OUT_OF_RANGE;
  Node node;
  const auto read = std::from_chars(number.data(), number.data() + number.size(), node.integer);
  if (read.ptr != number.data() + number.size()) {
    node.kind = Kind::Real;
  } else {
    node.kind = read.ec == std::errc() ? Kind::Int : Kind::LargeInt;
  }
  return add(node);
}

Tree TreeBuilder::take() {
  tree_.root_ = pending_.front();
  return std::move(tree_);
}

int TreeBuilder::add(const Node& node) {
  pending_.push_back(node);
  pending_.back().name = std::exchange(name_, nullptr);
  return PPS_OK;
}

int TreeBuilder::start(Kind kind) {
  if (open_.size() == PPS_MAX_DEPTH) return PPS_TOO_DEEP;
  open_.push_back(pending_.size());
  Node node;
  node.kind = kind;
  return add(node);
}

void TreeBuilder::closeContainer() {
  Node& container = pending_[open_.back()];
  const auto children = pending_.begin() + static_cast<std::ptrdiff_t>(open_.back()) + 1;
  // PPS_MAX_LENGTH keeps both far below what 32 bits hold.
  container.first = static_cast<std::uint32_t>(tree_.nodes_.size());
  container.count = static_cast<std::uint32_t>(pending_.end() - children);
  tree_.nodes_.insert(tree_.nodes_.end(), children, pending_.end());
  pending_.erase(children, pending_.end());
  open_.pop_back();
}

// Sorts instead of hashing: no choice of names makes that slow.
bool TreeBuilder::hasDuplicateNames() {
  names_.clear();
  for (std::size_t i = open_.back() + 1; i < pending_.size(); ++i) {
    names_.push_back(pending_[i].name);
  }
  std::sort(names_.begin(), names_.end(),
            [](const char* a, const char* b) { return std::strcmp(a, b) < 0; });
  return std::adjacent_find(names_.begin(), names_.end(), [](const char* a, const char* b) {
           return std::strcmp(a, b) == 0;
         }) != names_.end();
}

}  // namespace ppscodec
