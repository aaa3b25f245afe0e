#include "services/certmgr/CertDetailsRequest.h"

#include <limits.h>

#include <stdexcept>
#include <utility>

#include "services/common/TextReader.h"

namespace {

using Strings = std::vector<std::string>;

constexpr std::size_t kMaxIdBytes = 256;

}  // namespace

std::optional<std::string> readRequestId(TextReader& reader) {
  std::optional<std::string> id = reader.optionalString("id");
  if (id && id->size() > kMaxIdBytes) throw std::runtime_error("\"id\" is too long");
  return id;
}

CertDetailsRequest CertDetailsRequest::parse(const std::string& text) {
  TextReader reader(text, TextReader::Form::attributes, "the request");
  return read(reader, reader.string("msg"));
}

CertDetailsRequest CertDetailsRequest::read(TextReader& reader, const std::string& message) {
  if (message != "getcertdetails") {
    throw std::runtime_error("unknown message \"" + message.substr(0, 64) + "\"");
  }
  CertDetailsRequest request;
  request.id = readRequestId(reader);
  reader.enter("dat");
  request.application = reader.string("application");
  request.className = reader.string("class");
  request.paths.push_back(reader.string("certid"));
  for (std::string& path : reader.optionalStrings("intermediateCerts").value_or(Strings())) {
    request.paths.push_back(std::move(path));
  }
  if (request.paths.size() > CertDetailsRequest::kMaxCertificates) {
    throw std::runtime_error("the request names more than " +
                             std::to_string(CertDetailsRequest::kMaxCertificates) +
                             " certificates");
  }
  for (const std::string& path : request.paths) {
    if (path.size() >= PATH_MAX) throw std::runtime_error("the path of a certificate is too long");
  }
  return request;
}
