#include "tools/trustctl/connect/StartTls.h"

#include <algorithm>
#include <sstream>

#include <fmt/format.h>

namespace {

constexpr int mostUntaggedLines = 200;
constexpr const char* notOffered = "offers no STARTTLS on this port; it said";
constexpr const char* refused = "refuses STARTTLS; it said";

bool beginsWith(const std::string& text, const char* start) {
  return text.rfind(start, 0) == 0;
}

std::string inUpperCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  });
  return text;
}

void requireCode(const Dialogue& dialogue, const std::string& reply, const char* code,
                 const char* otherwise) {
  if (!beginsWith(reply, code)) {
    dialogue.fail(otherwise, reply);
  }
}

bool offersStartTls(const std::string& ehloReply) {
  std::istringstream lines(inUpperCase(ehloReply));
  for (std::string line; std::getline(lines, line);) {
    if (line.size() > 4 && line.substr(4) == "STARTTLS") {
      return true;
    }
  }
  return false;
}

void askSmtp(Dialogue* dialogue, const std::string& /*host*/) {
  requireCode(*dialogue, dialogue->readCodedReply(), "220", "takes no mail; its greeting is");
  dialogue->send("EHLO localhost\r\n");
  const std::string offer = dialogue->readCodedReply();
  requireCode(*dialogue, offer, "250", "does not speak extended SMTP; it said");
  if (!offersStartTls(offer)) {
    dialogue->fail(notOffered, offer);
  }
  dialogue->send("STARTTLS\r\n");
  requireCode(*dialogue, dialogue->readCodedReply(), "220", refused);
}

void askFtp(Dialogue* dialogue, const std::string& /*host*/) {
  std::string greeting = dialogue->readCodedReply();
  if (beginsWith(greeting, "120")) {  // it will be ready soon, and says so
    greeting = dialogue->readCodedReply();
  }
  requireCode(*dialogue, greeting, "220", "takes nobody in; its greeting is");
  dialogue->send("AUTH TLS\r\n");
  requireCode(*dialogue, dialogue->readCodedReply(), "234", refused);
}

void askImap(Dialogue* dialogue, const std::string& /*host*/) {
  const std::string greeting = dialogue->readLine();
  if (!beginsWith(greeting, "* ")) {
    dialogue->failAsOtherProtocol(greeting);
  }
  if (!beginsWith(inUpperCase(greeting), "* OK")) {
    dialogue->fail("cannot begin with TLS; its greeting is", greeting);
  }
  dialogue->send("a1 STARTTLS\r\n");
  std::string line;
  int lines = 0;
  do {
    line = dialogue->readLine();
  } while (beginsWith(line, "* ") && ++lines < mostUntaggedLines);
  if (!beginsWith(inUpperCase(line), "A1 OK")) {
    dialogue->fail(refused, line);
  }
}

void askPop3(Dialogue* dialogue, const std::string& /*host*/) {
  const std::string greeting = dialogue->readLine();
  if (!beginsWith(greeting, "+OK")) {
    dialogue->failAsOtherProtocol(greeting);
  }
  dialogue->send("STLS\r\n");
  const std::string answer = dialogue->readLine();
  if (!beginsWith(answer, "+OK")) {
    dialogue->fail(refused, answer);
  }
}

// Enough of XML for a stream that is about to end: its parts are found by their tags.
void askXmpp(Dialogue* dialogue, const std::string& host) {
  dialogue->send(
      fmt::format("<?xml version='1.0'?><stream:stream xmlns='jabber:client' "
                  "xmlns:stream='http://etherx.jabber.org/streams' to='{}' version='1.0'>",
                  host));
  const std::string first = dialogue->readBytes(1);
  if (first != "<") {
    dialogue->failAsOtherProtocol(first + dialogue->takeRest());
  }
  const std::string features = dialogue->readThrough(
      {"</stream:features>", "<stream:features/>", "</stream:error>", "</stream:stream>"});
  if (features.find("<starttls") == std::string::npos) {
    dialogue->fail(notOffered, features);
  }
  dialogue->send("<starttls xmlns='urn:ietf:params:xml:ns:xmpp-tls'/>");
  std::string answer = dialogue->readThrough({">"});
  if (answer.find("<proceed") == std::string::npos) {
    dialogue->fail(refused, answer);
  }
  if (answer[answer.size() - 2] != '/') {
    answer += dialogue->readThrough({"</proceed>"});
  }
}

}  // namespace

const std::vector<StartTlsProtocol>& startTlsProtocols() {
  static const std::vector<StartTlsProtocol> protocols = {
      {"smtp", "SMTP", 25, askSmtp},
      {"imap", "IMAP", 143, askImap},
      {"pop3", "POP3", 110, askPop3},
      {"ftp", "FTP", 21, askFtp},
      {"ldap", "LDAP", 389, askLdap},
      {"xmpp", "XMPP", 5222, askXmpp},
      {"postgres", "PostgreSQL", 5432, askPostgres},
  };
  return protocols;
}

const StartTlsProtocol* findStartTlsProtocol(const std::string& name) {
  const auto& all = startTlsProtocols();
  const auto found = std::find_if(all.begin(), all.end(),
                                  [&name](const auto& protocol) { return protocol.name == name; });
  return found == all.end() ? nullptr : &*found;
}

void startTls(const StartTlsProtocol& protocol, Socket* socket, const std::string& host) {
  socket->enter(
      fmt::format("in the {} dialogue before TLS (where TLS begins at once, leave --starttls out)",
                  protocol.title));
  Dialogue dialogue(socket, protocol.title);
  protocol.ask(&dialogue, host);
  dialogue.requireNothingMore();
}
