#include "trustlib/pps/PpsEncoder.h"

PpsEncoder::PpsEncoder() TRUSTLIB_THROWS(TrustManagerException) : encoder() {}

PpsEncoder::~PpsEncoder() {
  pps_encoder_cleanup(&encoder);
}

void PpsEncoder::initialize(bool json) TRUSTLIB_THROWS(TrustManagerException) {
  pps_encoder_cleanup(&encoder);
  pps_encoder_initialize(&encoder, json);
}

void PpsEncoder::startObject(const char* name) TRUSTLIB_THROWS(TrustManagerException) {
  const int result = pps_encoder_start_object(&encoder, name);
  if (result != 0) {
    throw TrustManagerException("PpsEncoder::startObject - error = %d", result);
  }
}

void PpsEncoder::endObject() TRUSTLIB_THROWS(TrustManagerException) {
  const int result = pps_encoder_end_object(&encoder);
  if (result != 0) {
    throw TrustManagerException("PpsEncoder::endObject - error = %d", result);
  }
}

void PpsEncoder::startArray(const char* name) TRUSTLIB_THROWS(TrustManagerException) {
  const int result = pps_encoder_start_array(&encoder, name);
  if (result != 0) {
    throw TrustManagerException("PpsEncoder::startArray - error = %d", result);
  }
}

void PpsEncoder::endArray() TRUSTLIB_THROWS(TrustManagerException) {
  const int result = pps_encoder_end_array(&encoder);
  if (result != 0) {
    throw TrustManagerException("PpsEncoder::endArray - error = %d", result);
  }
}

void PpsEncoder::addString(const char* name, const char* value, bool required)
    TRUSTLIB_THROWS(TrustManagerException) {
  if (value == nullptr) {
    if (required) {
      throw TrustManagerException("PpsEncoder::addString - NULL value");
    }
    return;
  }
  const int result = pps_encoder_add_string(&encoder, name, value);
  if (result != 0) {
    throw TrustManagerException("PpsEncoder::addString - error = %d", result);
  }
}

void PpsEncoder::addString(const char* name, const std::string* value, bool required)
    TRUSTLIB_THROWS(TrustManagerException) {
  addString(name, value != nullptr ? value->c_str() : nullptr, required);
}

void PpsEncoder::addInt(const char* name, int value) TRUSTLIB_THROWS(TrustManagerException) {
  const int result = pps_encoder_add_int(&encoder, name, value);
  if (result != 0) {
    throw TrustManagerException("PpsEncoder::addInt - error = %d", result);
  }
}

void PpsEncoder::addLongLong(const char* name, long long value)
    TRUSTLIB_THROWS(TrustManagerException) {
  const std::string digits = std::to_string(value);
  addString(name, &digits, true);
}

const char* PpsEncoder::buffer() TRUSTLIB_THROWS(TrustManagerException, TrustManagerException*) {
  const char* text = pps_encoder_buffer(&encoder);
  if (text == nullptr) {
    // A pointer on purpose; callers have always caught it as one.
    throw new TrustManagerException("PpsEncoder::buffer - not available");
  }
  return text;
}

int PpsEncoder::length() TRUSTLIB_THROWS(TrustManagerException) {
  return pps_encoder_length(&encoder);
}
