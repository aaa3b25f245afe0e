#ifndef TRUSTLIB_PPS_PPS_DECODER_H
#define TRUSTLIB_PPS_PPS_DECODER_H

#include <list>
#include <string>

#include "platform/ppscodec/ppscodec.h"
#include "trustlib/Export.h"
#include "trustlib/Throws.h"
#include "trustlib/util/TrustManagerException.h"

// The platform's text decoder, with its result codes as exceptions.
//
// push and the "get" operations return true when the member was there and was read, and
// false only when it is absent and not `required`; everything else throws. A NULL name
// stands for the top-level object, or the current element of an array. One decoder belongs
// to one thread; after a throw it can only be destroyed.
//
// Three of the operations report NULL input by throwing a *pointer* to a new
// TrustManagerException, which whoever catches it deletes.
class TRUSTLIB_EXPORT PpsDecoder {
 public:
  PpsDecoder() TRUSTLIB_THROWS(TrustManagerException);
  virtual ~PpsDecoder();

  PpsDecoder(const PpsDecoder&) = delete;
  PpsDecoder& operator=(const PpsDecoder&) = delete;

  // Must come first. A text is parsed as attribute text; NULL leaves that for later.
  void initialize(char* text) TRUSTLIB_THROWS(TrustManagerException);

  // Parses `length` bytes of JSON, of which the decoder keeps its own copy.
  void parseJson(char* data, int length)
      TRUSTLIB_THROWS(TrustManagerException, TrustManagerException*);

  // Parse JSON and attribute text in place: the caller keeps the text alive and untouched
  // while the decoder is used.
  void parseJsonStr(char* text) TRUSTLIB_THROWS(TrustManagerException, TrustManagerException*);
  void parsePpsStr(char* text) TRUSTLIB_THROWS(TrustManagerException, TrustManagerException*);

  // Enters and leaves an object or array.
  bool push(const char* name, bool required) TRUSTLIB_THROWS(TrustManagerException);
  void pop() TRUSTLIB_THROWS(TrustManagerException);

  // Members or elements of what the decoder stands in.
  int length() TRUSTLIB_THROWS(TrustManagerException);

  bool getBool(const char* name, bool* out, bool required) TRUSTLIB_THROWS(TrustManagerException);
  bool getInt(const char* name, int* out, bool required) TRUSTLIB_THROWS(TrustManagerException);

  // The text lies in the parsed text. An absent one leaves NULL.
  bool getString(const char* name, const char** out, bool required)
      TRUSTLIB_THROWS(TrustManagerException);

  // Appends the text; `out` must not be NULL.
  bool getString(const char* name, std::string* out, bool required)
      TRUSTLIB_THROWS(TrustManagerException);

  // Reads a string member of decimal digits. What is no number leaves in `out` what the
  // standard extraction leaves there, and still counts as read.
  bool getLongLong(const char* name, long long* out, bool required)
      TRUSTLIB_THROWS(TrustManagerException);

  // Replaces the list by the strings of the array; elements that are no strings are skipped.
  bool getStringArray(const char* name, std::list<std::string>* out, bool required)
      TRUSTLIB_THROWS(TrustManagerException);

 private:
  static bool checkResult(const char* name, const char* operation, int result, bool required);

  char* text;  // own copy of what parseJson was given, from malloc, or NULL
  pps_decoder_t decoder;
};

#endif
