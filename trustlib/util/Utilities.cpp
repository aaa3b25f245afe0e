#include "trustlib/util/Utilities.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/toolkit/toolkit.h"

namespace {

const int noInput = 0xE119;
const int noEncodedLength = 0xE11F;
const int noDecodedLength = 0xE121;

}  // namespace

unsigned int tp_StrLen(const char* text) {
  return text != nullptr ? static_cast<unsigned int>(strlen(text)) : 0;
}

int tp_B64Encode(const unsigned char* data, unsigned int length, char* output,
                 unsigned int* outputLength) {
  if (data == nullptr || length == 0) {
    return noInput;
  }
  if (outputLength == nullptr) {
    return noEncodedLength;
  }
  return toolkit_base64_encode(data, length, output, outputLength);
}

int tp_B64Decode(const char* text, unsigned int length, unsigned char* output,
                 unsigned int* outputLength) {
  if (length == 0) {
    length = tp_StrLen(text);
  }
  if (text == nullptr || length == 0) {
    return noInput;
  }
  if (outputLength == nullptr) {
    return noDecodedLength;
  }
  return toolkit_base64_decode(text, length, output, outputLength);
}

bool Utilities::vaStringPrintf(const char* format, va_list args, std::string* out)
    TRUSTLIB_THROWS(TrustManagerException) {
  char buffer[1024];
  va_list firstPass;
  va_copy(firstPass, args);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the checker misses va_copy
  const int length = vsnprintf(buffer, sizeof(buffer), format, firstPass);
  va_end(firstPass);
  if (length < 0) {
    return true;
  }
  const auto size = static_cast<std::size_t>(length) + 1;
  if (size <= sizeof(buffer)) {
    out->append(buffer, size);
    return true;
  }
  char* block = static_cast<char*>(malloc(size));
  if (block == nullptr) {
    return false;
  }
  static_cast<void>(vsnprintf(block, size, format, args));  // it told its length above
  out->append(block, size);
  free(block);
  return true;
}

int Utilities::base64Encode(unsigned char* data, unsigned int length, std::string* text)
    TRUSTLIB_THROWS(TrustManagerException) {
  if (data == nullptr || text == nullptr) {
    return noInput;
  }
  unsigned int encodedLength = 0;
  int result = tp_B64Encode(data, length, nullptr, &encodedLength);
  if (result != 0) {
    return result;
  }
  char* encoded = static_cast<char*>(malloc(static_cast<std::size_t>(encodedLength) + 1));
  if (encoded == nullptr) {
    return TOOLKIT_NO_MEMORY;
  }
  result = tp_B64Encode(data, length, encoded, &encodedLength);
  if (result == 0) {
    encoded[encodedLength] = '\0';
    text->assign(encoded);
  }
  free(encoded);
  return result;
}

int Utilities::base64Decode(std::string* text, unsigned char** data, unsigned int* length)
    TRUSTLIB_THROWS(TrustManagerException) {
  if (text == nullptr || data == nullptr || length == nullptr) {
    return noInput;
  }
  if (text->length() > UINT_MAX) {
    return TOOLKIT_TOO_BIG;
  }
  const auto textLength = static_cast<unsigned int>(text->length());
  unsigned int decodedLength = 0;
  int result = tp_B64Decode(text->c_str(), textLength, nullptr, &decodedLength);
  if (result != 0) {
    return result;
  }
  auto* decoded = static_cast<unsigned char*>(malloc(decodedLength));
  if (decoded == nullptr) {
    return TOOLKIT_NO_MEMORY;
  }
  result = tp_B64Decode(text->c_str(), textLength, decoded, &decodedLength);
  if (result != 0) {
    free(decoded);
    return result;
  }
  *data = decoded;
  *length = decodedLength;
  return 0;
}

void Utilities::binaryToHex(unsigned char* data, unsigned int length, std::string* text)
    TRUSTLIB_THROWS(TrustManagerException) {
  static const char digits[] = "0123456789abcdef";
  if (data == nullptr || text == nullptr) {
    return;
  }
  for (unsigned int i = 0; i < length; ++i) {
    text->push_back(digits[data[i] >> 4]);
    text->push_back(digits[data[i] & 0xF]);
  }
}

bool Utilities::compareLists(const std::list<std::string>* first,
                             const std::list<std::string>* second)
    TRUSTLIB_THROWS(TrustManagerException) {
  if (first == nullptr || second == nullptr) {
    return first == second;
  }
  return *first == *second;
}
