#include "services/certmgr/CertDetailsAnswer.h"

#include <list>
#include <stdexcept>
#include <string>

#include "platform/ppscodec/ppscodec.h"

namespace {

// Failures are remembered by the encoder and show when the text is taken.
class Encoder {
 public:
  Encoder() { pps_encoder_initialize(&encoder_, false); }
  ~Encoder() { pps_encoder_cleanup(&encoder_); }
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  void startObject(const char* name) { pps_encoder_start_object(&encoder_, name); }
  void endObject() { pps_encoder_end_object(&encoder_); }
  void add(const char* name, const std::string& value) {
    pps_encoder_add_string(&encoder_, name, value.c_str());
  }
  template <class Strings>
  void addArray(const char* name, const Strings& values) {
    pps_encoder_start_array(&encoder_, name);
    for (const std::string& value : values) add(nullptr, value);
    pps_encoder_end_array(&encoder_);
  }

  std::string text() {
    const char* text = pps_encoder_buffer(&encoder_);
    if (text == nullptr) throw std::runtime_error("the answer cannot be encoded");
    return text;
  }

 private:
  pps_encoder_t encoder_ = {};
};

std::list<std::string> namesOf(Warnings warnings) {
  std::list<std::string> names;
  CertificateWarnings::appendNames(warnings, &names);
  return names;
}

}  // namespace

std::string CertDetailsAnswer::encode() const {
  Encoder encoder;
  encoder.startObject(nullptr);
  encoder.add("res", "getcertdetails");
  if (id) encoder.add("id", *id);
  encoder.startObject("dat");
  encoder.add("serial", serial);
  encoder.addArray("subjectCommonName", commonNames);
  encoder.addArray("subjectAltNames", subjectAltNames);
  encoder.add("validity", warnings == 0 ? "VALID" : "INVALID");
  if (warnings != 0) encoder.addArray("warnings", namesOf(warnings));
  encoder.addArray("chain", chain);
  encoder.endObject();
  encoder.endObject();
  return encoder.text();
}
