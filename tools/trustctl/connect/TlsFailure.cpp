#include "tools/trustctl/connect/TlsFailure.h"

#include <algorithm>

#include <fmt/format.h>
#include <openssl/ssl.h>

#include "services/common/PrintableText.h"

namespace {

struct AlertText {
  int number;
  const char* name;
  const char* meaning;
};

// Those that a first flight can bring about, by their names on paper.
constexpr AlertText alertTexts[] = {
    {SSL_AD_HANDSHAKE_FAILURE, "handshake_failure",
     "it shares no cipher or parameter with this program, or wants another server name"},
    {SSL_AD_ACCESS_DENIED, "access_denied", "it does not let this client in"},
    {SSL_AD_PROTOCOL_VERSION, "protocol_version",
     "it speaks no version of TLS that this program speaks"},
    {SSL_AD_INSUFFICIENT_SECURITY, "insufficient_security", "it asks for stronger ciphers"},
    {SSL_AD_INTERNAL_ERROR, "internal_error",
     "it has a fault of its own, or does not know the server name"},
    {SSL_AD_UNRECOGNIZED_NAME, "unrecognized_name", "it does not know the server name"},
    {116, "certificate_required", "it wants a certificate of the client"},
    {SSL_AD_NO_APPLICATION_PROTOCOL, "no_application_protocol",
     "it speaks none of the protocols of --alpn"},
};

std::string describeAlert(int number, const TlsRequest& request) {
  const auto* const text =
      std::find_if(std::begin(alertTexts), std::end(alertTexts),
                   [number](const auto& each) { return each.number == number; });
  const bool isKnown = text != std::end(alertTexts);
  const std::string name = isKnown ? text->name : SSL_alert_desc_string_long(number);
  std::string out = fmt::format("ended the TLS handshake with the alert {} ({})", name, number);
  if (isKnown) {
    out += fmt::format(": {}", text->meaning);
  }
  return out + (request.serverName.empty() ? "; it was told no server name, name one with --domain"
                                           : fmt::format("; it was told the server name '{}'",
                                                         printableText(request.serverName)));
}

// A record of TLS begins with its kind and the major version.
bool isTls(const std::string& bytes) {
  return bytes[0] >= 0x14 && bytes[0] <= 0x17 && (bytes.size() < 2 || bytes[1] == 0x03);
}

bool beginsWith(const std::string& text, const char* start) {
  return text.rfind(start, 0) == 0;
}

const char* adviceOnWords(const std::string& words) {
  if (beginsWith(words, "220")) {
    return "this may be a mail or file server: try --starttls smtp or --starttls ftp";
  }
  if (beginsWith(words, "* OK")) {
    return "this may be a mail server: try --starttls imap";
  }
  if (beginsWith(words, "+OK")) {
    return "this may be a mail server: try --starttls pop3";
  }
  if (beginsWith(words, "HTTP/") || beginsWith(words, "<")) {
    return "this may be the port for HTTP without TLS: try that for HTTPS, usually 443";
  }
  return "check the port, and whether TLS begins by --starttls there";
}

}  // namespace

std::string describeTlsFailure(const TlsFailure& failure, const TlsRequest& request,
                               const std::string& server) {
  if (!failure.firstBytes.empty() && !isTls(failure.firstBytes)) {
    return fmt::format("{} does not speak TLS there; it said '{}'; {}", server,
                       printableText(failure.firstBytes), adviceOnWords(failure.firstBytes));
  }
  if (failure.alert) {
    return fmt::format("{} {}", server, describeAlert(*failure.alert, request));
  }
  if (failure.tooLarge) {
    return fmt::format(
        "{} sent certificates of more than {} KiB in all, so it is no chain; see to what the "
        "server is set up to send",
        server, mostChainBytes / 1024);
  }
  if (failure.closed && failure.firstBytes.empty()) {
    return fmt::format(
        "{} closed the connection without a word when TLS was to begin; check the port, and "
        "whether TLS begins by --starttls there",
        server);
  }
  if (failure.closed) {
    return fmt::format("{} closed the connection in the middle of the TLS handshake; try again",
                       server);
  }
  return fmt::format(
      "the TLS handshake with {} failed: {}; check that the port speaks TLS as of version 1.0",
      server, printableText(failure.reason));
}
