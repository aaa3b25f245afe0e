// The codec, text first: what reads can be written, and then reads as the same; written again, it
// is the same text.

#include <cstdint>
#include <optional>
#include <string>

#include "fuzz/CodecTree.h"
#include "fuzz/Property.h"

namespace {

void checkWritten(const CodecTree& tree, const std::string& text, bool json) {
  const std::optional<CodecTree> again = readTree(text, json);
  require(again && *again == tree, "what is written reads back as what it was");
  require(writeTree(*again, json) == text, "what says the same is written the same");
}

void check(const std::string& text, bool json) {
  const std::optional<CodecTree> tree = readTree(text, json);
  if (!tree) return;
  const std::optional<std::string> written = writeTree(*tree, json);
  require(written.has_value(), "what reads can be written in the same form");
  checkWritten(*tree, *written, json);
  // Not every text has the other form: attributes have no names with colons, for one.
  if (const auto other = writeTree(*tree, !json)) checkWritten(*tree, *other, !json);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  check(text, true);
  check(text, false);
  return 0;
}
