#ifndef SERVICES_DIALOG_DIALOGREQUEST_H
#define SERVICES_DIALOG_DIALOGREQUEST_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// The request "show":
//   msg::show
//   id::ID
//   dat:json:{"className":"orb.dialog::CertificateVerificationDialog","desc_obj":{
//     "domain":D,"import":false,"groupId":G,"warnings":[...],"chain":[PATH,...]}}
// (on one line). "id", "domain", "groupId" and "warnings" may be absent.
//
// Clients put the text together without escaping, so a domain with a quote in it can bring
// members of its own. Hence nothing but these members is taken, each once, and those of
// "desc_obj" in this order only: whatever a value slips in comes too early or twice.
struct DialogRequest {
  static constexpr std::size_t kMaxCertificates = 32;
  static constexpr std::size_t kMaxIdBytes = 256;
  static constexpr std::size_t kMaxDomainBytes = 1024;
  static constexpr std::size_t kMaxGroupIdBytes = 256;

  std::optional<std::string> id;
  std::optional<std::string> domain;  // bytes without control bytes; perhaps no valid UTF-8
  std::optional<std::string> groupId;
  unsigned long long warnings = 0;  // CertificateWarnings
  std::vector<std::string> paths;   // leaf first, at least one, each absolute

  // Throws std::runtime_error that says what is wrong with the text.
  static DialogRequest parse(const std::string& text);
};

#endif
