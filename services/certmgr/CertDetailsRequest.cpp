#include "services/certmgr/CertDetailsRequest.h"

#include <limits.h>

#include <stdexcept>

#include "platform/ppscodec/ppscodec.h"

namespace {

constexpr std::size_t kMaxIdBytes = 256;

class Decoder {
 public:
  explicit Decoder(const std::string& text) : text_(text) {
    if (text.find('\0') != std::string::npos) {
      throw std::runtime_error("the request holds a NUL byte");
    }
    // The decoder parses in place, and its strings point into our copy.
    require(pps_decoder_initialize(&decoder_, text_.data()), "the request is no attribute text");
    require(pps_decoder_push(&decoder_, nullptr), "the request is no attribute text");
  }
  ~Decoder() { pps_decoder_cleanup(&decoder_); }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  std::optional<std::string> optionalString(const char* name) {
    const char* value = nullptr;
    if (pps_decoder_get_string(&decoder_, name, &value) != PPS_OK) return std::nullopt;
    return value;
  }

  std::string string(const char* name) {
    auto value = optionalString(name);
    if (!value) {
      throw std::runtime_error("the request has no string \"" + std::string(name) + "\"");
    }
    return *value;
  }

  void enter(const char* name) {
    require(pps_decoder_push(&decoder_, name),
            ("the request has no object \"" + std::string(name) + "\"").c_str());
  }

  void appendPaths(const char* name, std::vector<std::string>& paths) {
    const int result = pps_decoder_push(&decoder_, name);
    if (result == PPS_ABSENT) return;
    require(result, "\"intermediateCerts\" is no array");
    const int count = pps_decoder_length(&decoder_);
    if (static_cast<std::size_t>(count) >= CertDetailsRequest::kMaxCertificates) {
      throw std::runtime_error("the request names more than " +
                               std::to_string(CertDetailsRequest::kMaxCertificates) +
                               " certificates");
    }
    for (int i = 0; i < count; ++i) {
      const auto path = optionalString(nullptr);
      if (!path) throw std::runtime_error("\"intermediateCerts\" holds more than strings");
      paths.push_back(*path);
    }
    require(pps_decoder_pop(&decoder_), "\"intermediateCerts\" is no array");
  }

 private:
  static void require(int result, const char* complaint) {
    if (result != PPS_OK) throw std::runtime_error(complaint);
  }

  std::string text_;
  pps_decoder_t decoder_ = {};
};

}  // namespace

CertDetailsRequest CertDetailsRequest::parse(const std::string& text) {
  Decoder decoder(text);
  const std::string message = decoder.string("msg");
  if (message != "getcertdetails") {
    throw std::runtime_error("unknown message \"" + message.substr(0, 64) + "\"");
  }
  CertDetailsRequest request;
  request.id = decoder.optionalString("id");
  if (request.id && request.id->size() > kMaxIdBytes)
    throw std::runtime_error("\"id\" is too long");
  decoder.enter("dat");
  request.application = decoder.string("application");
  request.className = decoder.string("class");
  request.paths.push_back(decoder.string("certid"));
  decoder.appendPaths("intermediateCerts", request.paths);
  for (const std::string& path : request.paths) {
    if (path.size() >= PATH_MAX) throw std::runtime_error("the path of a certificate is too long");
  }
  return request;
}
