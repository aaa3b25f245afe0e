#include <memory>

#include "platform/ppscodec/Encoder.h"
#include "platform/ppscodec/Guard.h"
#include "platform/ppscodec/ppscodec.h"

struct pps_encoder_impl {
  ppscodec::Encoder encoder;
};

namespace {

using ppscodec::Encoder;

// Runs an operation of the encoder unless an earlier one failed.
template <typename Operation>
int apply(pps_encoder_t* encoder, Operation operation) {
  if (encoder == nullptr || encoder->impl == nullptr) return PPS_BAD_ARGUMENT;
  Encoder& target = encoder->impl->encoder;
  if (target.failure() == PPS_OK) {
    target.remember(ppscodec::guarded([&] { return operation(target); }));
  }
  return target.failure();
}

const std::string* textOf(const pps_encoder_t* encoder) {
  return encoder == nullptr || encoder->impl == nullptr ? nullptr : encoder->impl->encoder.text();
}

}  // namespace

int pps_encoder_initialize(pps_encoder_t* encoder, bool json) {
  if (encoder == nullptr) return PPS_BAD_ARGUMENT;
  encoder->impl = nullptr;
  return ppscodec::guarded([=] {
    encoder->impl = new pps_encoder_impl{Encoder(json)};
    return PPS_OK;
  });
}

int pps_encoder_start_object(pps_encoder_t* encoder, const char* name) {
  return apply(encoder, [=](Encoder& target) { return target.startObject(name); });
}

int pps_encoder_end_object(pps_encoder_t* encoder) {
  return apply(encoder, [](Encoder& target) { return target.endObject(); });
}

int pps_encoder_start_array(pps_encoder_t* encoder, const char* name) {
  return apply(encoder, [=](Encoder& target) { return target.startArray(name); });
}

int pps_encoder_end_array(pps_encoder_t* encoder) {
  return apply(encoder, [](Encoder& target) { return target.endArray(); });
}

int pps_encoder_add_string(pps_encoder_t* encoder, const char* name, const char* value) {
  return apply(encoder, [=](Encoder& target) {
    return value == nullptr ? int{PPS_BAD_ARGUMENT} : target.addString(name, value);
  });
}

int pps_encoder_add_int(pps_encoder_t* encoder, const char* name, int value) {
  return apply(encoder, [=](Encoder& target) { return target.addInt(name, value); });
}

int pps_encoder_add_bool(pps_encoder_t* encoder, const char* name, bool value) {
  return apply(encoder, [=](Encoder& target) { return target.addBool(name, value); });
}

const char* pps_encoder_buffer(pps_encoder_t* encoder) {
  const std::string* const text = textOf(encoder);
  return text == nullptr ? nullptr : text->c_str();
}

int pps_encoder_length(pps_encoder_t* encoder) {
  const std::string* const text = textOf(encoder);
  return text == nullptr ? 0 : static_cast<int>(text->size());
}

void pps_encoder_cleanup(pps_encoder_t* encoder) {
  if (encoder == nullptr) return;
  const std::unique_ptr<pps_encoder_impl> owned(encoder->impl);
  encoder->impl = nullptr;
}
