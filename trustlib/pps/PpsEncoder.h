#ifndef TRUSTLIB_PPS_PPS_ENCODER_H
#define TRUSTLIB_PPS_PPS_ENCODER_H

#include <string>

#include "platform/ppscodec/ppscodec.h"
#include "trustlib/Export.h"
#include "trustlib/Throws.h"
#include "trustlib/util/TrustManagerException.h"

// The platform's text encoder, with its result codes as exceptions. A NULL name stands for
// the top-level object and for what is added inside an array. One encoder belongs to one
// thread; after a throw it can only be destroyed.
class TRUSTLIB_EXPORT PpsEncoder {
 public:
  PpsEncoder() TRUSTLIB_THROWS(TrustManagerException);
  virtual ~PpsEncoder();

  PpsEncoder(const PpsEncoder&) = delete;
  PpsEncoder& operator=(const PpsEncoder&) = delete;

  // Starts an empty text: JSON, or attribute text. Must come first.
  void initialize(bool json) TRUSTLIB_THROWS(TrustManagerException);

  void startObject(const char* name) TRUSTLIB_THROWS(TrustManagerException);
  void endObject() TRUSTLIB_THROWS(TrustManagerException);
  void startArray(const char* name) TRUSTLIB_THROWS(TrustManagerException);
  void endArray() TRUSTLIB_THROWS(TrustManagerException);

  // A NULL value throws where it is required and adds nothing otherwise.
  void addString(const char* name, const char* value, bool required)
      TRUSTLIB_THROWS(TrustManagerException);
  void addString(const char* name, const std::string* value, bool required)
      TRUSTLIB_THROWS(TrustManagerException);

  void addInt(const char* name, int value) TRUSTLIB_THROWS(TrustManagerException);

  // Adds the value as a string of decimal digits: no number form carries 64 bits safely.
  void addLongLong(const char* name, long long value) TRUSTLIB_THROWS(TrustManagerException);

  // The finished text, which stays the encoder's. When there is none, throws a *pointer* to
  // a new TrustManagerException, which whoever catches it deletes.
  const char* buffer() TRUSTLIB_THROWS(TrustManagerException, TrustManagerException*);

  // Bytes of the text, without a terminator.
  int length() TRUSTLIB_THROWS(TrustManagerException);

 private:
  pps_encoder_t encoder;
};

#endif
