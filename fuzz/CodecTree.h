#ifndef FUZZ_CODECTREE_H
#define FUZZ_CODECTREE_H

#include <optional>
#include <string>
#include <vector>

#include "platform/ppscodec/ppscodec.h"

// What a text of the codec says, apart from the text: the values that its encoder can write.
// Others (null, fractions, integers beyond an int) are left out.
struct CodecTree {
  enum class Kind { object, array, string, integer, boolean };

  bool operator==(const CodecTree&) const = default;

  Kind kind = Kind::object;
  std::string name;  // of a member of an object
  std::string text;
  int number = 0;  // of a boolean: 0 or 1
  std::vector<CodecTree> children;
};

// Reads a text in one of its two forms; nothing when it is none. Ends the program when the decoder
// contradicts itself or nests deeper than it says.
std::optional<CodecTree> readTree(const std::string& text, bool json);

// The text that says the same; nothing when that form cannot carry it.
std::optional<std::string> writeTree(const CodecTree& tree, bool json);

#endif
