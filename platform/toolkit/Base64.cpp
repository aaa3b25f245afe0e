// Written out here: libcrypto's decoder takes white space, misplaced padding and
// stray bits, and both of its directions write past the result.
#include <cstddef>
#include <cstdint>
#include <limits>

#include "platform/toolkit/toolkit.h"

namespace {

constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr unsigned int groupBytes = 3;
constexpr unsigned int groupCharacters = 4;

// The six bits that a character stands for, or -1.
int valueOf(char character) {
  if (character >= 'A' && character <= 'Z') return character - 'A';
  if (character >= 'a' && character <= 'z') return character - 'a' + 26;
  if (character >= '0' && character <= '9') return character - '0' + 52;
  if (character == '+') return 62;
  return character == '/' ? 63 : -1;
}

unsigned int countPadding(const char* text, unsigned int length) {
  if (length == 0 || text[length - 1] != '=') return 0;
  return text[length - 2] == '=' ? 2 : 1;
}

// Whether the text may be decoded; `length` is a multiple of four.
bool isStrict(const char* text, unsigned int length, unsigned int padding) {
  for (unsigned int i = 0; i < length - padding; ++i) {
    if (valueOf(text[i]) < 0) return false;
  }
  // The last character before the padding must not carry bits that no byte has.
  const unsigned int strayBits = padding == 2 ? 0xfU : padding == 1 ? 0x3U : 0U;
  return strayBits == 0 ||
         (static_cast<unsigned int>(valueOf(text[length - padding - 1])) & strayBits) == 0;
}

// Answers a size query, or checks that the caller's buffer holds `needed` bytes.
// Sets `*done` when nothing is left to do.
int settleSize(std::uint64_t needed, const void* output, unsigned int* output_length, bool* done) {
  *done = true;
  if (needed > std::numeric_limits<unsigned int>::max()) return TOOLKIT_TOO_BIG;
  if (output != nullptr && needed > *output_length) return TOOLKIT_BUFFER_TOO_SMALL;
  *output_length = static_cast<unsigned int>(needed);
  *done = output == nullptr;
  return TOOLKIT_OK;
}

void encodeGroup(const unsigned char* data, unsigned int count, char* output) {
  std::uint32_t bits = 0;
  for (unsigned int i = 0; i < groupBytes; ++i) {
    bits = (bits << 8U) | (i < count ? data[i] : 0U);
  }
  for (unsigned int i = 0; i < groupCharacters; ++i) {
    output[i] = i <= count ? alphabet[(bits >> (18U - 6U * i)) & 0x3fU] : '=';
  }
}

void decodeGroup(const char* text, unsigned int count, unsigned char* output) {
  std::uint32_t bits = 0;
  for (unsigned int i = 0; i < groupCharacters; ++i) {
    bits = (bits << 6U) | (i <= count ? static_cast<std::uint32_t>(valueOf(text[i])) : 0U);
  }
  for (unsigned int i = 0; i < count; ++i) {
    output[i] = static_cast<unsigned char>(bits >> (16U - 8U * i));
  }
}

}  // namespace

int toolkit_base64_encode(const unsigned char* data, unsigned int length, char* output,
                          unsigned int* output_length) {
  if (output_length == nullptr || (data == nullptr && length > 0)) return TOOLKIT_BAD_ARGUMENT;
  const std::uint64_t needed =
      (std::uint64_t{length} + groupBytes - 1) / groupBytes * groupCharacters;
  bool done = false;
  const int result = settleSize(needed, output, output_length, &done);
  if (done) return result;

  for (; length >= groupBytes; length -= groupBytes) {
    encodeGroup(data, groupBytes, output);
    data += groupBytes;
    output += groupCharacters;
  }
  if (length > 0) encodeGroup(data, length, output);
  return TOOLKIT_OK;
}

int toolkit_base64_decode(const char* text, unsigned int length, unsigned char* output,
                          unsigned int* output_length) {
  if (output_length == nullptr || (text == nullptr && length > 0)) return TOOLKIT_BAD_ARGUMENT;
  if (length % groupCharacters != 0) return TOOLKIT_BAD_BASE64;
  const unsigned int padding = countPadding(text, length);
  if (!isStrict(text, length, padding)) return TOOLKIT_BAD_BASE64;
  const unsigned int needed = length / groupCharacters * groupBytes - padding;
  bool done = false;
  const int result = settleSize(needed, output, output_length, &done);
  if (done) return result;

  const unsigned char* const end = output + needed;
  for (; end - output >= static_cast<std::ptrdiff_t>(groupBytes); output += groupBytes) {
    decodeGroup(text, groupBytes, output);
    text += groupCharacters;
  }
  if (output != end) decodeGroup(text, groupBytes - padding, output);
  return TOOLKIT_OK;
}
