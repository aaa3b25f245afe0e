#ifndef TESTS_SERVICES_CERTMGR_PATH_MADECERTIFICATE_H
#define TESTS_SERVICES_CERTMGR_PATH_MADECERTIFICATE_H

#include <deque>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "services/certmgr/path/ParsedCertificate.h"

// A DER element.
std::string derElement(unsigned char tag, std::string_view content);

// A Name element of relative names of one attribute each: the attribute's OBJECT IDENTIFIER and
// its value, a UTF8String.
using NameParts = std::initializer_list<std::pair<std::string_view, std::string_view>>;
std::string nameDer(NameParts parts);

extern const std::string_view kCommonName;
extern const std::string_view kOrganization;
extern const std::string_view kEmailAddress;

// A certificate whose fields are set by hand, for rules that look at nothing else. What its
// fields point to lives in it.
class MadeCertificate : public ParsedCertificate {
 public:
  static std::shared_ptr<MadeCertificate> make(NameParts subject, NameParts issuer);

  MadeCertificate& altName(GeneralName::Kind kind, std::string bytes);
  MadeCertificate& permit(GeneralName::Kind kind, std::string bytes);
  MadeCertificate& exclude(GeneralName::Kind kind, std::string bytes);
  // Keeps the bytes as long as the certificate.
  std::string_view keep(std::string bytes);

 private:
  std::deque<std::string> kept_;
};

#endif
