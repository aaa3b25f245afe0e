#include <list>

#include "platform/ppscodec/ppscodec.h"
#include "services/common/PrintableText.h"
#include "services/common/TimeText.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/VerdictReport.h"
#include "trustlib/CertificateWarnings.h"

namespace {

// One JSON object being written. The encoder remembers the first failure for finish().
class JsonObject {
 public:
  JsonObject() : encoder() {
    pps_encoder_initialize(&encoder, true);
    pps_encoder_start_object(&encoder, nullptr);
  }
  ~JsonObject() { pps_encoder_cleanup(&encoder); }
  JsonObject(const JsonObject&) = delete;
  JsonObject& operator=(const JsonObject&) = delete;

  void add(const char* name, const std::string& value) {
    pps_encoder_add_string(&encoder, name, value.c_str());
  }
  void add(const char* name, bool value) { pps_encoder_add_bool(&encoder, name, value); }
  // Escaped texts are valid UTF-8 without NUL, which the encoder asks for.
  void addDomain(const std::optional<std::string>& domain) {
    if (domain) {
      add("domain", escapeText(*domain));
    }
  }

  std::string finish() {
    pps_encoder_end_object(&encoder);
    const char* text = pps_encoder_buffer(&encoder);
    if (text == nullptr) {
      throw CommandError(ExitStatus::undecided, "the JSON output cannot be written: no memory");
    }
    return std::string(text) + "\n";
  }

  pps_encoder_t encoder;
};

std::string timeText(const std::optional<std::int64_t>& time) {
  return time ? formatTime(*time) : std::string();
}

void addWarnings(JsonObject* object, unsigned long long warnings) {
  std::list<std::string> names;
  CertificateWarnings::appendNames(warnings, &names);
  pps_encoder_start_array(&object->encoder, "warnings");
  for (const std::string& name : names) {
    pps_encoder_add_string(&object->encoder, nullptr, name.c_str());
  }
  pps_encoder_end_array(&object->encoder);
}

void addChain(JsonObject* object, const std::vector<CertificateView>& chain) {
  pps_encoder_start_array(&object->encoder, "chain");
  for (const CertificateView& certificate : chain) {
    pps_encoder_start_object(&object->encoder, nullptr);
    object->add("subject", certificate.subject);
    object->add("issuer", certificate.issuer);
    object->add("serial", certificate.serial);
    object->add("not_before", timeText(certificate.notBefore));
    object->add("not_after", timeText(certificate.notAfter));
    object->add("sha256", certificate.sha256);
    pps_encoder_end_object(&object->encoder);
  }
  pps_encoder_end_array(&object->encoder);
}

}  // namespace

std::string writeJsonReport(const Verdict& verdict, const ReportContext& context) {
  JsonObject object;
  object.addDomain(context.domain);
  object.add("trusted", verdict.trusted);
  object.add("by_exception", verdict.byException);
  object.add("revoked", verdict.revoked);
  addWarnings(&object, verdict.warnings);
  object.add("serial", verdict.chain.empty() ? std::string() : verdict.chain.front().serial);
  addChain(&object, verdict.chain);
  return object.finish();
}

std::string writeJsonError(const std::string& error, const std::optional<std::string>& domain) {
  JsonObject object;
  object.addDomain(domain);
  object.add("error", error);
  return object.finish();
}
