#include "tools/trustctl/connect/ConnectionReport.h"

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "services/common/TimeText.h"

namespace {

const char* statusWord(StapledAnswer::Status status) {
  switch (status) {
    case StapledAnswer::Status::good:
      return "good";
    case StapledAnswer::Status::revoked:
      return "revoked";
    case StapledAnswer::Status::unknown:
      return "unknown";
    case StapledAnswer::Status::unusable:
      return "unusable";
    case StapledAnswer::Status::none:
      break;
  }
  return "none";
}

const char* signatureWord(StapledAnswer::Signature signature) {
  switch (signature) {
    case StapledAnswer::Signature::valid:
      return "valid";
    case StapledAnswer::Signature::invalid:
      return "invalid";
    case StapledAnswer::Signature::unchecked:
      break;
  }
  return "unchecked";
}

const char* signatureText(StapledAnswer::Signature signature) {
  switch (signature) {
    case StapledAnswer::Signature::valid:
      return "signed for the issuer";
    case StapledAnswer::Signature::invalid:
      return "NOT SIGNED for the issuer, so worth nothing";
    case StapledAnswer::Signature::unchecked:
      break;
  }
  return "signature unchecked, as the server did not send the issuer";
}

std::string timeText(const std::optional<std::int64_t>& time) {
  return time ? formatTime(*time) : std::string();
}

std::string validityText(const StapledAnswer& answer, std::int64_t time) {
  std::string text = fmt::format(
      "of {}", answer.thisUpdate ? timeText(answer.thisUpdate) : std::string("(not a time)"));
  if (answer.nextUpdate) {
    text += fmt::format(", good until {}", timeText(answer.nextUpdate));
  }
  if (answer.nextUpdate && *answer.nextUpdate < time) {
    text += ", OUT OF DATE";
  } else if (answer.thisUpdate && *answer.thisUpdate > time) {
    text += ", NOT VALID YET";
  }
  return text;
}

std::string stapleText(const StapledAnswer& answer, std::int64_t time) {
  if (answer.status == StapledAnswer::Status::none) {
    return "no answer stapled";
  }
  if (answer.status == StapledAnswer::Status::unusable) {
    return fmt::format("stapled answer is unusable: {}", answer.problem);
  }
  std::string text = statusWord(answer.status);
  if (answer.revokedAt) {
    text += fmt::format(" on {}", timeText(answer.revokedAt));
  }
  text += fmt::format("; stapled answer {}; {}", validityText(answer, time),
                      signatureText(answer.signature));
  if (answer.status == StapledAnswer::Status::revoked) {
    text += "; shown only, the verdict above does not count it";
  }
  return text;
}

std::string alpnText(const ConnectionFacts& connection) {
  return connection.alpn.empty() ? "none agreed on" : escapeText(connection.alpn);
}

const char* clientText(const ConnectionFacts& connection) {
  return connection.needsCertificate
             ? "the server wants a certificate of yours and ended the handshake without one"
             : "the server asked for a certificate of yours; it was given none";
}

}  // namespace

std::vector<ConnectionField> fieldsOf(const ConnectionFacts& connection, std::int64_t time) {
  std::vector<ConnectionField> fields = {
      {"address", fmt::format("{} port {}", escapeText(connection.address), connection.port)}};
  if (!connection.startTls.empty()) {
    fields.push_back({"STARTTLS", connection.startTls});
  }
  fields.push_back({"protocol", connection.protocol});
  fields.push_back({"cipher", connection.cipher});
  if (connection.askedAlpn) {
    fields.push_back({"ALPN", alpnText(connection), true});
  }
  fields.push_back({"sent", fmt::format("{} certificate{}", connection.certificates,
                                        connection.certificates == 1 ? "" : "s")});
  fields.push_back({"OCSP", stapleText(connection.stapled, time)});
  if (connection.asksForCertificate) {
    fields.push_back({"client", clientText(connection)});
  }
  if (connection.bearsAddress) {
    fields.push_back({"note",
                      "the certificate is made for this address, but the check counts names "
                      "only; give one of its names with --domain"});
  }
  return fields;
}

void addConnection(TextWriter* object, const ConnectionFacts& connection) {
  const StapledAnswer& stapled = connection.stapled;
  object->startObject("connection");
  object->add("host", escapeText(connection.host));
  object->add("address", escapeText(connection.address));
  object->add("port", connection.port);
  object->add("starttls", connection.startTls);
  object->add("protocol", connection.protocol);
  object->add("cipher", connection.cipher);
  object->add("alpn", escapeText(connection.alpn));
  object->add("certificates", static_cast<int>(connection.certificates));
  object->add("client_certificate", connection.needsCertificate     ? "required"
                                    : connection.asksForCertificate ? "requested"
                                                                    : "none");
  object->startObject("ocsp");
  object->add("status", statusWord(stapled.status));
  if (stapled.status == StapledAnswer::Status::unusable) {
    object->add("problem", stapled.problem);
  } else if (stapled.status != StapledAnswer::Status::none) {
    object->add("this_update", timeText(stapled.thisUpdate));
    object->add("next_update", timeText(stapled.nextUpdate));
    if (stapled.status == StapledAnswer::Status::revoked) {
      object->add("revoked_at", timeText(stapled.revokedAt));
    }
    object->add("signature", signatureWord(stapled.signature));
  }
  object->endObject();
  object->endObject();
}
