#include "tools/trustctl/CertificateJson.h"

#include "services/common/TimeText.h"

namespace {

std::string timeText(const std::optional<std::int64_t>& time) {
  return time ? formatTime(*time) : std::string();
}

}  // namespace

void addCertificate(TextWriter* object, const CertificateView& certificate) {
  object->add("subject", certificate.subject);
  object->add("issuer", certificate.issuer);
  object->add("serial", certificate.serial);
  object->add("not_before", timeText(certificate.notBefore));
  object->add("not_after", timeText(certificate.notAfter));
  object->add("sha256", certificate.sha256);
}
