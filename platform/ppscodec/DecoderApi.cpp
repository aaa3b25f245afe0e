#include <memory>

#include "platform/ppscodec/Decoder.h"
#include "platform/ppscodec/Guard.h"
#include "platform/ppscodec/ppscodec.h"

struct pps_decoder_impl {
  ppscodec::Decoder decoder;
};

namespace {

bool isReady(const pps_decoder_t* decoder) {
  return decoder != nullptr && decoder->impl != nullptr;
}

}  // namespace

int pps_decoder_initialize(pps_decoder_t* decoder, char* text) {
  if (decoder == nullptr) return PPS_BAD_ARGUMENT;
  decoder->impl = nullptr;
  const int result = ppscodec::guarded([decoder] {
    decoder->impl = std::make_unique<pps_decoder_impl>().release();
    return PPS_OK;
  });
  if (result != PPS_OK || text == nullptr) return result;
  return pps_decoder_parse_pps_str(decoder, text);
}

int pps_decoder_parse_json_str(pps_decoder_t* decoder, char* text) {
  if (!isReady(decoder) || text == nullptr) return PPS_BAD_ARGUMENT;
  return ppscodec::guarded([=] { return decoder->impl->decoder.parseJson(text); });
}

int pps_decoder_parse_pps_str(pps_decoder_t* decoder, char* text) {
  if (!isReady(decoder) || text == nullptr) return PPS_BAD_ARGUMENT;
  return ppscodec::guarded([=] { return decoder->impl->decoder.parseAttributes(text); });
}

int pps_decoder_push(pps_decoder_t* decoder, const char* name) {
  if (!isReady(decoder)) return PPS_BAD_ARGUMENT;
  return ppscodec::guarded([=] { return decoder->impl->decoder.push(name); });
}

int pps_decoder_pop(pps_decoder_t* decoder) {
  return isReady(decoder) ? decoder->impl->decoder.pop() : PPS_BAD_ARGUMENT;
}

int pps_decoder_length(pps_decoder_t* decoder) {
  return isReady(decoder) ? decoder->impl->decoder.length() : 0;
}

int pps_decoder_get_bool(pps_decoder_t* decoder, const char* name, bool* out) {
  if (!isReady(decoder) || out == nullptr) return PPS_BAD_ARGUMENT;
  return decoder->impl->decoder.getBool(name, out);
}

int pps_decoder_get_int(pps_decoder_t* decoder, const char* name, int* out) {
  if (!isReady(decoder) || out == nullptr) return PPS_BAD_ARGUMENT;
  return decoder->impl->decoder.getInt(name, out);
}

int pps_decoder_get_string(pps_decoder_t* decoder, const char* name, const char** out) {
  if (!isReady(decoder) || out == nullptr) return PPS_BAD_ARGUMENT;
  return decoder->impl->decoder.getString(name, out);
}

int pps_decoder_goto_index(pps_decoder_t* decoder, int index) {
  return isReady(decoder) ? decoder->impl->decoder.gotoIndex(index) : PPS_BAD_ARGUMENT;
}

int pps_decoder_get_state(const pps_decoder_t* decoder, pps_decoder_state_t* state) {
  if (!isReady(decoder) || state == nullptr) return PPS_BAD_ARGUMENT;
  return decoder->impl->decoder.describeCurrent(state);
}

void pps_decoder_cleanup(pps_decoder_t* decoder) {
  if (decoder == nullptr) return;
  const std::unique_ptr<pps_decoder_impl> owned(decoder->impl);
  decoder->impl = nullptr;
}
