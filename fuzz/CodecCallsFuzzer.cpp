// The codec, calls first: the bytes are a program of encoder calls, right and wrong ones. What the
// calls said is what the text says; a failure is remembered, and a text that is not finished is
// not shown.

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/CodecTree.h"
#include "fuzz/Property.h"

namespace {

using Kind = CodecTree::Kind;

// Takes the input apart; there are zeros behind its end.
class Bytes {
 public:
  Bytes(const std::uint8_t* data, std::size_t size)
      : left_(reinterpret_cast<const char*>(data), size) {}

  bool atEnd() const { return left_.empty(); }
  unsigned byte() {
    if (left_.empty()) return 0;
    const auto byte = static_cast<unsigned char>(left_.front());
    left_.remove_prefix(1);
    return byte;
  }
  std::string text() {
    const unsigned size = byte() % 16;
    std::string text(left_.substr(0, size));
    text.erase(std::min(text.find('\0'), text.size()));
    left_.remove_prefix(std::min(left_.size(), text.size()));
    return text;
  }
  int number() {
    std::uint32_t number = 0;
    for (int i = 0; i < 4; ++i) number = number << 8 | byte();
    return static_cast<int>(number);
  }

 private:
  std::string_view left_;
};

class CallRunner {
 public:
  CallRunner(Bytes bytes, bool json) : bytes_(bytes), json_(json) {
    pps_encoder_initialize(&encoder_, json);
  }
  ~CallRunner() { pps_encoder_cleanup(&encoder_); }
  CallRunner(const CallRunner&) = delete;
  CallRunner& operator=(const CallRunner&) = delete;

  void run() {
    if (!json_) open(Kind::object, nullptr);
    while (!bytes_.atEnd() && failure_ == PPS_OK) step(bytes_.byte());
    while (failure_ == PPS_OK && !open_.empty()) close(open_.back().kind);
    checkText();
  }

 private:
  void step(unsigned code) {
    std::string text;
    const char* name = nullptr;
    // Named where names belong, but for a few calls.
    constexpr unsigned kOddName = 0xe0;
    const bool belongs = !open_.empty() && open_.back().kind == Kind::object;
    if (belongs != (code >= kOddName)) {
      text = bytes_.text();
      name = text.c_str();
    }
    switch (code % 8) {
      case 0:
        return open(Kind::object, name);
      case 1:
        return open(Kind::array, name);
      case 2:
        return close(Kind::object);
      case 3:
        return close(Kind::array);
      case 4:
        return addNumber(name);
      case 5:
        return addFlag(name);
      default:
        return addText(name);
    }
  }

  // Whether the call went well; otherwise every later one has to fail alike.
  bool went(int result) {
    if (result != PPS_OK) {
      failure_ = result;
      require(pps_encoder_add_bool(&encoder_, nullptr, true) == result, "a failure is remembered");
    }
    return result == PPS_OK;
  }

  void open(Kind kind, const char* name) {
    const int result = kind == Kind::object ? pps_encoder_start_object(&encoder_, name)
                                            : pps_encoder_start_array(&encoder_, name);
    if (!went(result)) return;
    CodecTree tree;
    tree.kind = kind;
    tree.name = name == nullptr ? "" : name;
    open_.push_back(std::move(tree));
  }

  void close(Kind kind) {
    const int result =
        kind == Kind::object ? pps_encoder_end_object(&encoder_) : pps_encoder_end_array(&encoder_);
    const bool isRight = !open_.empty() && open_.back().kind == kind;
    require(isRight == (result == PPS_OK), "only what is open, and last, can be closed");
    if (!went(result)) return;
    CodecTree tree = std::move(open_.back());
    open_.pop_back();
    add(std::move(tree));
  }

  void addNumber(const char* name) {
    CodecTree tree;
    tree.kind = Kind::integer;
    tree.number = bytes_.number();
    const int result = pps_encoder_add_int(&encoder_, name, tree.number);
    addScalar(name, std::move(tree), result);
  }
  void addFlag(const char* name) {
    CodecTree tree;
    tree.kind = Kind::boolean;
    tree.number = static_cast<int>(bytes_.byte() & 1U);
    const int result = pps_encoder_add_bool(&encoder_, name, tree.number != 0);
    addScalar(name, std::move(tree), result);
  }
  void addText(const char* name) {
    CodecTree tree;
    tree.kind = Kind::string;
    tree.text = bytes_.text();
    const int result = pps_encoder_add_string(&encoder_, name, tree.text.c_str());
    addScalar(name, std::move(tree), result);
  }
  void addScalar(const char* name, CodecTree tree, int result) {
    if (!went(result)) return;
    tree.name = name == nullptr ? "" : name;
    add(std::move(tree));
  }

  void add(CodecTree tree) {
    if (open_.empty()) {
      require(!whole_, "a text holds one value");
      whole_ = std::move(tree);
      return;
    }
    open_.back().children.push_back(std::move(tree));
  }

  void checkText() {
    const char* text = pps_encoder_buffer(&encoder_);
    const bool isWhole = failure_ == PPS_OK && whole_ && open_.empty();
    require((text != nullptr) == isWhole, "a text is shown when it is finished, and only then");
    if (text == nullptr) return;
    const std::optional<CodecTree> read = readTree(text, json_);
    require(read && *read == *whole_, "the text says what the calls said");
  }

  Bytes bytes_;
  bool json_;
  pps_encoder_t encoder_ = {};
  int failure_ = PPS_OK;
  std::vector<CodecTree> open_;
  std::optional<CodecTree> whole_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CallRunner(Bytes(data, size), true).run();
  CallRunner(Bytes(data, size), false).run();
  return 0;
}
