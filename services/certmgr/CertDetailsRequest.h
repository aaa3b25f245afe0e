#ifndef SERVICES_CERTMGR_CERTDETAILSREQUEST_H
#define SERVICES_CERTMGR_CERTDETAILSREQUEST_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

class TextReader;

// The request "getcertdetails":
//   msg::getcertdetails
//   id::ID
//   dat:json:{"application":A,"class":C,"certid":LEAF,"intermediateCerts":[...],"fields":[...]}
// "intermediateCerts" may be absent; "fields" is not looked at, since every answer
// carries all of them.
struct CertDetailsRequest {
  // Certificates of one request, the leaf included.
  static constexpr std::size_t kMaxCertificates = 64;

  std::optional<std::string> id;
  std::string application;
  std::string className;
  std::vector<std::string> paths;  // leaf first

  // Throws std::runtime_error that says what is wrong with the text.
  static CertDetailsRequest parse(const std::string& text);
  // The same for a text that is being read, and whose "msg" is `message`.
  static CertDetailsRequest read(TextReader& reader, const std::string& message);
};

// The id of any request, which its answer repeats. Throws std::runtime_error when it is too long.
std::optional<std::string> readRequestId(TextReader& reader);

#endif
