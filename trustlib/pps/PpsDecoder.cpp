#include "trustlib/pps/PpsDecoder.h"

#include <cstdlib>
#include <cstring>
#include <locale>
#include <sstream>

namespace {

// One text for four operations, as it has always been.
void refuseNull(const void* out) {
  if (out == nullptr) {
    throw TrustManagerException("PpsDecoder::getBool - value is NULL");
  }
}

}  // namespace

PpsDecoder::PpsDecoder() TRUSTLIB_THROWS(TrustManagerException) : text(nullptr), decoder() {}

PpsDecoder::~PpsDecoder() {
  pps_decoder_cleanup(&decoder);
  free(text);
}

void PpsDecoder::initialize(char* text) TRUSTLIB_THROWS(TrustManagerException) {
  pps_decoder_cleanup(&decoder);
  const int result = pps_decoder_initialize(&decoder, text);
  if (result != 0) {
    throw TrustManagerException("PpsDecoder::initialize - error = %d", result);
  }
}

void PpsDecoder::parseJson(char* data, int length)
    TRUSTLIB_THROWS(TrustManagerException, TrustManagerException*) {
  if (data == nullptr) {
    throw new TrustManagerException("PpsDecoder::parseJson - NULL input");
  }
  free(text);
  text = length >= 0 ? static_cast<char*>(malloc(static_cast<std::size_t>(length) + 1)) : nullptr;
  if (text != nullptr) {
    memcpy(text, data, static_cast<std::size_t>(length));
    text[length] = '\0';
  }
  parseJsonStr(text);
}

void PpsDecoder::parseJsonStr(char* text)
    TRUSTLIB_THROWS(TrustManagerException, TrustManagerException*) {
  if (text == nullptr) {
    throw new TrustManagerException("PpsDecoder::parseJsonStr - NULL input");
  }
  const int result = pps_decoder_parse_json_str(&decoder, text);
  if (result != 0) {
    throw TrustManagerException("PpsDecoder::parseJsonStr - error = %d", result);
  }
}

void PpsDecoder::parsePpsStr(char* text)
    TRUSTLIB_THROWS(TrustManagerException, TrustManagerException*) {
  if (text == nullptr) {
    throw new TrustManagerException("PpsDecoder::parsePpsStr - NULL input");
  }
  const int result = pps_decoder_parse_pps_str(&decoder, text);
  if (result != 0) {
    throw TrustManagerException("PpsDecoder::parsePpsStr - error = %d", result);
  }
}

bool PpsDecoder::push(const char* name, bool required) TRUSTLIB_THROWS(TrustManagerException) {
  return checkResult(name, "push", pps_decoder_push(&decoder, name), required);
}

void PpsDecoder::pop() TRUSTLIB_THROWS(TrustManagerException) {
  const int result = pps_decoder_pop(&decoder);
  if (result != 0) {
    // One colon: this text has always been spelt so.
    throw TrustManagerException("PpsDecoder:pop - error = %d", result);
  }
}

int PpsDecoder::length() TRUSTLIB_THROWS(TrustManagerException) {
  return pps_decoder_length(&decoder);
}

bool PpsDecoder::getBool(const char* name, bool* out, bool required)
    TRUSTLIB_THROWS(TrustManagerException) {
  refuseNull(out);
  return checkResult(name, "get bool", pps_decoder_get_bool(&decoder, name, out), required);
}

bool PpsDecoder::getInt(const char* name, int* out, bool required)
    TRUSTLIB_THROWS(TrustManagerException) {
  refuseNull(out);
  return checkResult(name, "get int", pps_decoder_get_int(&decoder, name, out), required);
}

bool PpsDecoder::getString(const char* name, const char** out, bool required)
    TRUSTLIB_THROWS(TrustManagerException) {
  refuseNull(out);
  *out = nullptr;
  return checkResult(name, "get string", pps_decoder_get_string(&decoder, name, out), required);
}

bool PpsDecoder::getString(const char* name, std::string* out, bool required)
    TRUSTLIB_THROWS(TrustManagerException) {
  const char* value = nullptr;
  if (!getString(name, &value, required)) {
    return false;
  }
  out->append(value);
  return true;
}

bool PpsDecoder::getLongLong(const char* name, long long* out, bool required)
    TRUSTLIB_THROWS(TrustManagerException) {
  refuseNull(out);
  const char* value = nullptr;
  if (!getString(name, &value, required)) {
    return false;
  }
  std::istringstream digits(value);
  digits.imbue(std::locale::classic());  // the application's locale may group digits
  digits >> *out;
  return true;
}

bool PpsDecoder::getStringArray(const char* name, std::list<std::string>* out, bool required)
    TRUSTLIB_THROWS(TrustManagerException) {
  if (out == nullptr) {
    throw TrustManagerException("PpsDecoder::getStringArray - output strings is NULL");
  }
  if (!push(name, required)) {
    return false;
  }
  pps_decoder_state_t state;
  pps_decoder_get_state(&decoder, &state);
  if (!state.in_array) {
    checkResult(name, "push", PPS_WRONG_KIND, required);
  }
  out->clear();
  const int count = pps_decoder_length(&decoder);
  for (int i = 0; i < count; ++i) {
    const int result = pps_decoder_goto_index(&decoder, i);
    if (result != 0) {
      throw TrustManagerException(
          "PpsDecoder::getStringArray - failed to decode element of %s, error = %d", name, result);
    }
    pps_decoder_get_state(&decoder, &state);
    if (state.string != nullptr) {
      out->push_back(state.string);
    }
  }
  const int result = pps_decoder_pop(&decoder);
  if (result != 0) {
    throw TrustManagerException("PpsDecoder::getStringArray - failed to decode %s, error = %d",
                                name, result);
  }
  return true;
}

bool PpsDecoder::checkResult(const char* name, const char* operation, int result, bool required) {
  if (result == PPS_OK) {
    return true;
  }
  if (result == PPS_ABSENT && !required) {
    return false;
  }
  throw TrustManagerException("PpsDecoder: Failed to perform %s on %s, error = %d", operation,
                              name != nullptr ? name : "(null)", result);
}
