#include "tests/services/certmgr/path/MadeCertificate.h"

#include <cstddef>

#include "services/certmgr/path/DerReader.h"

const std::string_view kCommonName = "\x55\x04\x03";
const std::string_view kOrganization = "\x55\x04\x0a";
const std::string_view kEmailAddress = "\x2a\x86\x48\x86\xf7\x0d\x01\x09\x01";

std::string derElement(unsigned char tag, std::string_view content) {
  std::string out(1, static_cast<char>(tag));
  if (content.size() < 0x80) {
    out += static_cast<char>(content.size());
  } else {
    std::string length;
    for (std::size_t rest = content.size(); rest != 0; rest >>= 8) {
      length.insert(length.begin(), static_cast<char>(rest & 0xffU));
    }
    out += static_cast<char>(0x80U | length.size());
    out += length;
  }
  return out.append(content);
}

std::string nameDer(NameParts parts) {
  constexpr unsigned char kUtf8String = 0x0c;
  std::string content;
  for (const auto& [type, value] : parts) {
    content += derElement(DerReader::kSet,
                          derElement(DerReader::kSequence, derElement(DerReader::kOid, type) +
                                                               derElement(kUtf8String, value)));
  }
  return derElement(DerReader::kSequence, content);
}

std::shared_ptr<MadeCertificate> MadeCertificate::make(NameParts subject, NameParts issuer) {
  auto certificate = std::make_shared<MadeCertificate>();
  certificate->subject = DistinguishedName(nameDer(subject));
  certificate->issuer = DistinguishedName(nameDer(issuer));
  return certificate;
}

std::string_view MadeCertificate::keep(std::string bytes) {
  return kept_.emplace_back(std::move(bytes));
}

MadeCertificate& MadeCertificate::altName(GeneralName::Kind kind, std::string bytes) {
  hasAltNames = true;
  altNames.push_back({kind, keep(std::move(bytes))});
  return *this;
}

MadeCertificate& MadeCertificate::permit(GeneralName::Kind kind, std::string bytes) {
  if (!nameConstraints) nameConstraints.emplace();
  nameConstraints->permitted.push_back({{kind, keep(std::move(bytes))}});
  return *this;
}

MadeCertificate& MadeCertificate::exclude(GeneralName::Kind kind, std::string bytes) {
  if (!nameConstraints) nameConstraints.emplace();
  nameConstraints->excluded.push_back({{kind, keep(std::move(bytes))}});
  return *this;
}
