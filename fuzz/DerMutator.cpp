// Changes DER as DER: takes a row of elements apart, changes one of them, and puts them together
// again with lengths that fit. Bytes changed at random would nearly always break a length, and
// no reader looks further then.

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "services/certmgr/path/DerReader.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

struct Node {
  unsigned char tag = 0;
  std::string content;         // of a primitive one
  std::vector<Node> children;  // of others
};

std::vector<Node> nodesOf(std::string_view bytes);

Node nodeOf(const DerReader::Element& element) {
  Node node;
  node.tag = element.tag;
  // Extensions hold their values as DER in an OCTET STRING.
  const bool mayHold = (element.tag & 0x20U) != 0 || element.tag == DerReader::kOctetString;
  if (mayHold && !element.content.empty()) {
    try {
      node.children = nodesOf(element.content);
    } catch (const DerError&) {
      // Other bytes.
    }
  }
  if (node.children.empty()) node.content = element.content;
  return node;
}

std::vector<Node> nodesOf(std::string_view bytes) {
  std::vector<Node> nodes;
  for (DerReader reader(bytes); !reader.atEnd();) nodes.push_back(nodeOf(reader.take()));
  return nodes;
}

void append(std::string& out, const Node& node) {
  std::string content = node.content;
  for (const Node& child : node.children) append(content, child);
  out += static_cast<char>(node.tag);
  std::string length;
  for (std::size_t left = content.size(); left != 0; left >>= 8U) {
    length.insert(length.begin(), static_cast<char>(left & 0xffU));
  }
  if (content.size() >= 0x80) {
    out += static_cast<char>(0x80U | length.size());
    out += length;
  } else {
    out += static_cast<char>(content.size());
  }
  out += content;
}

void collect(std::vector<Node>& nodes, std::vector<Node*>& all) {
  for (Node& node : nodes) {
    all.push_back(&node);
    collect(node.children, all);
  }
}

class Mutation {
 public:
  Mutation(std::vector<Node>& forest, unsigned seed) : forest_(forest), random_(seed) {
    collect(forest, all_);
  }

  void run() {
    if (all_.empty()) return;
    Node& node = any();
    std::vector<Node>& siblings = node.children.empty() ? forest_ : node.children;
    Node& one = siblings[below(siblings.size())];
    switch (below(8)) {
      case 0:
        return remove(siblings);
      case 1:
        return insert(siblings, Node(one));
      case 2:
        return insert(siblings, Node(any()));
      case 3:
        return std::swap(one, siblings[below(siblings.size())]);
      case 4:
        return replace(node, Node(any()));
      case 5:
        return changeTag(node);
      default:
        return changeContent(node);
    }
  }

 private:
  std::size_t below(std::size_t limit) { return random_() % limit; }
  Node& any() { return *all_[below(all_.size())]; }

  void remove(std::vector<Node>& siblings) {
    siblings.erase(siblings.begin() + static_cast<std::ptrdiff_t>(below(siblings.size())));
  }
  void insert(std::vector<Node>& siblings, Node copy) {
    siblings.insert(siblings.begin() + static_cast<std::ptrdiff_t>(below(siblings.size() + 1)),
                    std::move(copy));
  }
  static void replace(Node& node, Node copy) { node = std::move(copy); }
  void changeTag(Node& node) { node.tag ^= static_cast<unsigned char>(1U << below(8)); }

  static void changeContent(Node& node) {
    std::string content = node.content;
    for (const Node& child : node.children) append(content, child);
    const std::size_t size = content.size();
    content.resize(size + 64);
    content.resize(
        LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(content.data()), size, content.size()));
    node.content = std::move(content);
    node.children.clear();
  }

  std::vector<Node>& forest_;
  std::vector<Node*> all_;
  std::minstd_rand random_;
};

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
  constexpr unsigned kBlindOnes = 16;  // one in so many is changed without regard to DER
  if (seed % kBlindOnes == 0) return LLVMFuzzerMutate(data, size, maxSize);
  std::string changed;
  try {
    std::vector<Node> forest = nodesOf({reinterpret_cast<const char*>(data), size});
    Mutation(forest, seed).run();
    for (const Node& node : forest) append(changed, node);
  } catch (const DerError&) {
    return LLVMFuzzerMutate(data, size, maxSize);
  }
  if (changed.empty() || changed.size() > maxSize) return LLVMFuzzerMutate(data, size, maxSize);
  changed.copy(reinterpret_cast<char*>(data), changed.size());
  return changed.size();
}
