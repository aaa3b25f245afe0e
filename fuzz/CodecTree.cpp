#include "fuzz/CodecTree.h"

#include "fuzz/Property.h"

namespace {

using Kind = CodecTree::Kind;

class TreeReader {
 public:
  explicit TreeReader(pps_decoder_t* decoder) : decoder_(decoder) {}

  // The current element, which has that name, or nothing if it is of no kind to be kept.
  std::optional<CodecTree> read(const char* name, int depth) {
    require(depth <= PPS_MAX_DEPTH, "no text nests deeper than the limit");
    CodecTree tree;
    tree.name = name == nullptr ? "" : name;
    const char* text = nullptr;
    bool flag = false;
    if (pps_decoder_get_string(decoder_, name, &text) == PPS_OK) {
      tree.kind = Kind::string;
      tree.text = text;
    } else if (pps_decoder_get_bool(decoder_, name, &flag) == PPS_OK) {
      tree.kind = Kind::boolean;
      tree.number = flag ? 1 : 0;
    } else if (pps_decoder_get_int(decoder_, name, &tree.number) == PPS_OK) {
      tree.kind = Kind::integer;
    } else if (pps_decoder_push(decoder_, name) == PPS_OK) {
      readChildren(tree, depth);
      require(pps_decoder_pop(decoder_) == PPS_OK, "what was entered can be left");
    } else {
      return {};
    }
    return tree;
  }

 private:
  void readChildren(CodecTree& tree, int depth) {
    pps_decoder_state_t state = {};
    require(pps_decoder_get_state(decoder_, &state) == PPS_OK, "the decoder tells where it is");
    tree.kind = state.in_array ? Kind::array : Kind::object;
    const int length = pps_decoder_length(decoder_);
    for (int i = 0; i < length; ++i) {
      require(pps_decoder_goto_index(decoder_, i) == PPS_OK, "there are as many as it says");
      pps_decoder_get_state(decoder_, &state);
      require((state.name == nullptr) == (tree.kind == Kind::array), "members have names");
      if (auto child = read(state.name, depth + 1)) tree.children.push_back(*std::move(child));
    }
    require(pps_decoder_goto_index(decoder_, length) == PPS_ABSENT, "there are no more");
  }

  pps_decoder_t* decoder_;
};

void write(pps_encoder_t* encoder, const CodecTree& tree, const char* name) {
  switch (tree.kind) {
    case Kind::string:
      pps_encoder_add_string(encoder, name, tree.text.c_str());
      return;
    case Kind::integer:
      pps_encoder_add_int(encoder, name, tree.number);
      return;
    case Kind::boolean:
      pps_encoder_add_bool(encoder, name, tree.number != 0);
      return;
    case Kind::object:
      pps_encoder_start_object(encoder, name);
      for (const CodecTree& child : tree.children) write(encoder, child, child.name.c_str());
      pps_encoder_end_object(encoder);
      return;
    case Kind::array:
      pps_encoder_start_array(encoder, name);
      for (const CodecTree& child : tree.children) write(encoder, child, nullptr);
      pps_encoder_end_array(encoder);
      return;
  }
}

}  // namespace

std::optional<CodecTree> readTree(const std::string& text, bool json) {
  std::string copy = text;  // parsed in place
  pps_decoder_t decoder = {};
  pps_decoder_initialize(&decoder, nullptr);
  const int result = json ? pps_decoder_parse_json_str(&decoder, copy.data())
                          : pps_decoder_parse_pps_str(&decoder, copy.data());
  std::optional<CodecTree> tree;
  if (result == PPS_OK) tree = TreeReader(&decoder).read(nullptr, 0);
  pps_decoder_cleanup(&decoder);
  return tree;
}

std::optional<std::string> writeTree(const CodecTree& tree, bool json) {
  pps_encoder_t encoder = {};
  pps_encoder_initialize(&encoder, json);
  write(&encoder, tree, nullptr);
  std::optional<std::string> text;
  if (const char* buffer = pps_encoder_buffer(&encoder)) text = buffer;
  require(!text || static_cast<int>(text->size()) == pps_encoder_length(&encoder),
          "the text is as long as the encoder says");
  pps_encoder_cleanup(&encoder);
  return text;
}
