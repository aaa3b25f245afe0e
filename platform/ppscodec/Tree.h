// The values of a parsed text, flat in memory: no operation recurses, so no text
// can exhaust the stack.
#ifndef PLATFORM_PPSCODEC_TREE_H
#define PLATFORM_PPSCODEC_TREE_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace ppscodec {

enum class Kind : std::uint8_t {
  Null,
  Bool,
  Int,       // an integer that an int holds
  LargeInt,  // an integer that an int cannot hold
  Real,      // a number with a fraction or an exponent
  String,
  Array,
  Object,
};

// One value. Names and strings point into the parsed text.
struct Node {
  Kind kind = Kind::Null;
  bool boolean = false;          // of a Bool
  int integer = 0;               // of an Int
  std::uint32_t first = 0;       // of an Array or Object: where its children start in the tree
  std::uint32_t count = 0;       // of an Array or Object: how many children follow there
  const char* name = nullptr;    // of a member of an object, else null
  const char* string = nullptr;  // of a String
};

class Tree {
 public:
  const Node& root() const { return root_; }

  // Child number `index` of `container`; `index` must be below its count.
  const Node& child(const Node& container, std::uint32_t index) const {
    return nodes_[container.first + index];
  }

 private:
  friend class TreeBuilder;

  Node root_;
  std::vector<Node> nodes_;  // children of one container stand side by side
};

// Builds a tree from the events of a parser, in the order of the text. Every
// operation returns a pps_result; after a failure the builder is of no more use.
// May throw std::bad_alloc. Names and strings are kept as pointers.
class TreeBuilder {
 public:
  int startObject();
  int endObject();  // PPS_DUPLICATE when two members share a name
  int startArray();
  int endArray();

  // Names the value that comes next.
  int addName(const char* name, std::size_t length);

  int addNull();
  int addBool(bool value);
  int addString(const char* string, std::size_t length);

  // `number` has the syntax of a JSON number.
  int addNumber(std::string_view number);

  // Gives the tree away, once the top-level value is complete.
  Tree take();

 private:
  int add(const Node& node);
  int start(Kind kind);
  void closeContainer();
  bool hasDuplicateNames();

  Tree tree_;
  std::vector<Node> pending_;       // children whose container is still open, and the open ones
  std::vector<std::size_t> open_;   // where the open containers stand in pending_
  std::vector<const char*> names_;  // scratch of hasDuplicateNames
  const char* name_ = nullptr;      // of the value that comes next
};

}  // namespace ppscodec

#endif
