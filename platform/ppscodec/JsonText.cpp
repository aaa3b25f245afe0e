#include "platform/ppscodec/JsonText.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string_view>

#include <rapidjson/reader.h>

#include "platform/ppscodec/ppscodec.h"

namespace ppscodec {
namespace {

struct LoneSurrogate {};

// RapidJSON refuses a high surrogate without a low one, but takes a low one that
// stands alone. Only escapes pass through here; raw bytes are copied as they are.
struct SurrogateCheckingUtf8 : rapidjson::UTF8<> {
  template <typename OutputStream>
  static void Encode(OutputStream& output, unsigned codepoint) {
    if (codepoint >= 0xDC00 && codepoint <= 0xDFFF) throw LoneSurrogate();
    rapidjson::UTF8<>::Encode(output, codepoint);
  }
};

// RapidJSON does not look whether its allocator gave it anything.
struct ThrowingAllocator {
  static void* Malloc(std::size_t size) { return Realloc(nullptr, 0, size); }

  static void* Realloc(void* original, std::size_t /*originalSize*/, std::size_t size) {
    if (size == 0) {
      Free(original);
      return nullptr;
    }
    void* const memory = std::realloc(original, size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
  }

  static void Free(void* memory) { std::free(memory); }
};

// Hands RapidJSON's events to the builder and keeps why the builder stopped.
class Handler {
 public:
  explicit Handler(TreeBuilder& builder) : builder_(builder) {}

  int result() const { return result_; }

  bool Null() { return note(builder_.addNull()); }
  bool Bool(bool value) { return note(builder_.addBool(value)); }
  bool String(const char* string, rapidjson::SizeType length, bool) {
    return note(builder_.addString(string, length));
  }
  bool Key(const char* name, rapidjson::SizeType length, bool) {
    return note(builder_.addName(name, length));
  }
  bool RawNumber(const char* number, rapidjson::SizeType length, bool) {
    return note(builder_.addNumber(std::string_view(number, length)));
  }
  bool StartObject() { return note(builder_.startObject()); }
  bool EndObject(rapidjson::SizeType) { return note(builder_.endObject()); }
  bool StartArray() { return note(builder_.startArray()); }
  bool EndArray(rapidjson::SizeType) { return note(builder_.endArray()); }

  // Numbers come as text; RapidJSON wants the converted forms to exist all the same.
  bool Int(int) { return false; }
  bool Uint(unsigned) { return false; }
  bool Int64(std::int64_t) { return false; }
  bool Uint64(std::uint64_t) { return false; }
  bool Double(double) { return false; }

 private:
  bool note(int result) {
    result_ = result;
    return result == PPS_OK;
  }

  TreeBuilder& builder_;
  int result_ = PPS_OK;
};

int resultOf(rapidjson::ParseErrorCode code, const Handler& handler) {
  switch (code) {
    case rapidjson::kParseErrorNone:
      return PPS_OK;
    case rapidjson::kParseErrorTermination:
      return handler.result();
    case rapidjson::kParseErrorNumberTooBig:
      return PPS_OUT_OF_RANGE;
    case rapidjson::kParseErrorStringUnicodeSurrogateInvalid:
      return PPS_BAD_STRING;
    default:
      return PPS_BAD_SYNTAX;
  }
}

}  // namespace

int parseJsonText(char* text, TreeBuilder& builder) {
  // Numbers are taken as text, since RapidJSON's own conversion adds exponents
  // without minding overflow and then reads past its table of powers.
  constexpr unsigned flags = rapidjson::kParseInsituFlag | rapidjson::kParseIterativeFlag |
                             rapidjson::kParseNumbersAsStringsFlag;
  rapidjson::GenericReader<SurrogateCheckingUtf8, SurrogateCheckingUtf8, ThrowingAllocator> reader;
  rapidjson::InsituStringStream stream(text);
  Handler handler(builder);
  try {
    return resultOf(reader.Parse<flags>(stream, handler).Code(), handler);
  } catch (const LoneSurrogate&) {
    return PPS_BAD_STRING;
  }
}

}  // namespace ppscodec
