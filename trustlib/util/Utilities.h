#ifndef TRUSTLIB_UTIL_UTILITIES_H
#define TRUSTLIB_UTIL_UTILITIES_H

#include <cstdarg>
#include <list>
#include <string>

#include "trustlib/Export.h"
#include "trustlib/Throws.h"
#include "trustlib/util/TrustManagerException.h"

// The library's only interface outside its classes. All may run on any thread.
extern "C" {

// Bytes before the terminating NUL; 0 for NULL.
TRUSTLIB_EXPORT unsigned int tp_StrLen(const char* text);

// Binary to base64 (RFC 4648: padded, no line breaks, no terminating NUL is written).
// `*outputLength` is the size of `output` in bytes going in and, on success only, the
// length of the result coming out; a NULL `output` asks for that length alone.
// Returns 0; 57625 for NULL or no data; 57631 for a NULL `outputLength`; or a code of the
// crypto toolkit, for instance when `output` is too small.
TRUSTLIB_EXPORT int tp_B64Encode(const unsigned char* data, unsigned int length, char* output,
                                 unsigned int* outputLength);

// Base64 to binary, strictly: anything that tp_B64Encode would not have written is refused.
// A `length` of 0 means that the text is NUL-terminated. `*outputLength` and a NULL `output`
// work as above.
// Returns 0; 57625 for a NULL or empty text; 57633 for a NULL `outputLength`; or a code of
// the crypto toolkit.
TRUSTLIB_EXPORT int tp_B64Decode(const char* text, unsigned int length, unsigned char* output,
                                 unsigned int* outputLength);
}

// Static conversions between bytes and text. Pure functions.
class TRUSTLIB_EXPORT Utilities {
 public:
  // Appends the formatted text and its terminating NUL, which becomes part of the string.
  // False, with the string untouched, when there is no memory for the formatting.
  static bool vaStringPrintf(const char* format, va_list args, std::string* out)
      TRUSTLIB_THROWS(TrustManagerException);

  // Replaces `text` by the base64 form of the data. Returns 0, or a code as tp_B64Encode
  // does, with `text` untouched. NULL data or text does nothing and returns a code.
  static int base64Encode(unsigned char* data, unsigned int length, std::string* text)
      TRUSTLIB_THROWS(TrustManagerException);

  // Hands out the bytes that the text stands for, in a buffer that the caller frees with
  // free(). Returns 0, or a code as tp_B64Decode does, with both outputs untouched. A NULL
  // argument does nothing and returns a code.
  static int base64Decode(std::string* text, unsigned char** data, unsigned int* length)
      TRUSTLIB_THROWS(TrustManagerException);

  // Appends two lower-case hexadecimal digits a byte. NULL does nothing.
  static void binaryToHex(unsigned char* data, unsigned int length, std::string* text)
      TRUSTLIB_THROWS(TrustManagerException);

  // True when both hold the same strings in the same order, or both are NULL.
  static bool compareLists(const std::list<std::string>* first,
                           const std::list<std::string>* second)
      TRUSTLIB_THROWS(TrustManagerException);
};

#endif
