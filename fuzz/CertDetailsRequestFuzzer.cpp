// The request of the certificate-manager service: a text is refused with a std::runtime_error, or
// keeps the limits; and what it calls itself comes back in the answer.

#include <limits.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "fuzz/Property.h"
#include "services/certmgr/CertDetailsAnswer.h"
#include "services/certmgr/CertDetailsRequest.h"
#include "services/common/TextReader.h"

namespace {

void checkLimits(const CertDetailsRequest& request) {
  require(!request.paths.empty(), "a request names a leaf");
  require(request.paths.size() <= CertDetailsRequest::kMaxCertificates,
          "a request names no more certificates than allowed");
  require(std::all_of(request.paths.begin(), request.paths.end(),
                      [](const std::string& path) {
                        return path.size() < PATH_MAX && path.find('\0') == std::string::npos;
                      }),
          "every path is one that can be opened");
  require(!request.id || request.id->size() <= 256, "an id is no longer than allowed");
}

void checkAnswer(const CertDetailsRequest& request) {
  CertDetailsAnswer answer;
  answer.id = request.id;
  answer.serial = "01";
  answer.chain = request.paths;
  TextReader reader(answer.encode(), TextReader::Form::attributes, "the answer");
  require(reader.optionalString("id") == request.id, "the answer bears the request's id");
  reader.enter("dat");
  require(reader.optionalStrings("chain") == request.paths, "the answer names the same paths");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CertDetailsRequest request;
  try {
    request = CertDetailsRequest::parse({reinterpret_cast<const char*>(data), size});
  } catch (const std::runtime_error&) {
    return 0;
  }
  checkLimits(request);
  checkAnswer(request);
  return 0;
}
