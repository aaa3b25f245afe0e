#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "services/common/CertificateNames.h"
#include "services/common/CertificateView.h"
#include "services/common/PrintableText.h"
#include "tools/trustctl/Command.h"
#include "tools/trustctl/Judging.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/VerdictReport.h"
#include "tools/trustctl/connect/ChainFile.h"
#include "tools/trustctl/connect/HostAndPort.h"
#include "tools/trustctl/connect/OcspStaple.h"
#include "tools/trustctl/connect/Socket.h"
#include "tools/trustctl/connect/StartTls.h"
#include "tools/trustctl/connect/TlsSession.h"

namespace {

constexpr int usualPort = 443;
constexpr int longestTimeoutSeconds = 24 * 60 * 60;
constexpr std::size_t longestAlpn = 255;

constexpr const char* help =
    "HOST is a name or an address: example.org, 192.0.2.1:8443, [2001:db8::1]:443. The port is\n"
    "443 without one, or the usual one of --starttls. The chain is taken as the server sends it\n"
    "and judged as by verify, for the name HOST; --domain names another, which is then the one\n"
    "the server is asked for as well. Nothing is sent to the server but what begins TLS.\n\n"
    "What is told of the connection, the stapled OCSP answer among it, is shown only: the\n"
    "verdict is about the chain. Old versions of TLS will do.\n\n"
    "Examples:\n"
    "  trustctl connect example.org\n"
    "  trustctl connect mail.example.org --starttls smtp\n"
    "  trustctl connect 192.0.2.1:8443 --domain example.org\n"
    "  trustctl connect example.org --alpn h2 --alpn http/1.1\n"
    "  trustctl connect intra.example --cafile company-root.pem --save chain.pem\n"
    "  trustctl connect --json example.org\n\n"
    "Exit status: 0 trusted, 1 not trusted, 2 wrong use, 3 no connection, no TLS or no verdict.\n";

struct ConnectOptions {
  std::string target;
  std::optional<std::string> domain;
  std::string startTls;
  std::vector<std::string> alpn;
  std::optional<int> connectSeconds;
  std::string save;
  JudgingOptions judging;
};

void checkOptions(ConnectOptions* options) {
  for (const std::string& protocol : options->alpn) {
    if (protocol.empty() || protocol.size() > longestAlpn) {
      refuse(fmt::format("'{}' cannot be a protocol for --alpn; give one such as h2 or http/1.1",
                         printableText(protocol, 40)));
    }
  }
  if (!options->save.empty()) {
    requireNewFile(options->save);
  }
  requireDomain(*options->domain);
  requireSound(&options->judging);
}

// An address is not named to the server, as the protocol has it; nor is what cannot be a name.
std::string nameForServer(const ConnectOptions& options, const HostAndPort& target) {
  const std::string& name = *options.domain;
  const bool isTheAddress = target.isAddress && name == target.host;
  return isHostName(name) && !isTheAddress ? name : "";
}

bool bearsAddress(const CertificateDer& der, const std::string& address) {
  const X509Ptr certificate = parseCertificate(der);
  if (certificate == nullptr) {
    return false;
  }
  for (const CertificateName& name : namesOf(certificate.get()).names) {
    if (name.kind == CertificateName::Kind::address && name.text == address) {
      return true;
    }
  }
  return false;
}

// Fetches the chain, and notes what there is to tell of the connection.
std::vector<CertificateDer> fetchChain(const ConnectOptions& options, const HostAndPort& target,
                                       ConnectionFacts* facts) {
  const StartTlsProtocol* protocol = findStartTlsProtocol(options.startTls);
  const int port = target.port.value_or(protocol == nullptr ? usualPort : protocol->port);
  const TlsRequest request = {nameForServer(options, target), options.alpn};
  const Deadline deadline = options.connectSeconds
                                ? Deadline(*options.connectSeconds, "--connect-timeout")
                                : Deadline(options.judging.timeoutSeconds);
  Socket socket(target.host, port, deadline);
  if (protocol != nullptr) {
    startTls(*protocol, &socket, request.serverName.empty() ? target.host : request.serverName);
  }
  TlsAnswer answer = askTlsServer(request, &socket);
  *facts = {target.host,
            socket.address(),
            port,
            options.startTls,
            answer.protocol,
            answer.cipher,
            answer.alpn,
            !options.alpn.empty(),
            answer.asksForCertificate,
            answer.needsCertificate,
            answer.chain.size(),
            target.isAddress && *options.domain == target.host &&
                bearsAddress(answer.chain.front(), socket.address()),
            readStaple(answer.stapled, answer.chain)};
  return std::move(answer.chain);
}

ExitStatus runConnect(ConnectOptions* options) {
  ConnectionFacts facts;
  const auto judge = [options, &facts] {
    const HostAndPort target = parseHostAndPort(options->target);
    if (!options->domain) {
      options->domain = target.host;
    }
    checkOptions(options);
    std::vector<CertificateDer> chain = fetchChain(*options, target, &facts);
    if (!options->save.empty()) {
      writeChainFile(options->save, chain);
    }
    return Judging(options->judging).judge(std::move(chain), options->domain);
  };
  return reportVerdict(options->judging, options->domain, judge, &facts);
}

void addConnectionOptions(CLI::App* command, ConnectOptions* options) {
  std::vector<std::string> protocols;
  for (const StartTlsProtocol& protocol : startTlsProtocols()) {
    protocols.emplace_back(protocol.name);
  }
  addOption(command, "-d,--domain", &options->domain,
            "The server's name to ask for and to judge by, in place of HOST", "NAME");
  addOption(command, "--starttls", &options->startTls,
            "Begin in the clear: smtp, imap, pop3, ftp, ldap, xmpp or postgres", "PROTOCOL")
      .oneOf(protocols);
  addOption(command, "--alpn", &options->alpn,
            "Propose this application protocol; repeatable, best first", "NAME")
      .oneValueEach();
  addOption(command, "--connect-timeout", &options->connectSeconds,
            "Wait so long for the server (as --timeout)", "SECONDS")
      .between(1, longestTimeoutSeconds);
  addOption(command, "--save", &options->save,
            "Write what the server sent into this new file, as PEM", "FILE")
      .notEmpty();
}

}  // namespace

void addConnectCommand(CLI::App* program, CommandAction* chosen) {
  CLI::App* command =
      addCommand(program, "connect", "Judge the certificate chain that a server sends", help);
  const auto options = std::make_shared<ConnectOptions>();
  addConnectionOptions(command, options.get());
  addJudgingOptions(command, &options->judging,
                    "Wait so long for the server, and for the services (30)");
  addAskingOptions(command, &options->judging);
  addOption(command, "HOST", &options->target,
            "The server: a name or an address, with :PORT or without")
      .required();
  onCall(command, chosen, [options] { return runConnect(options.get()); });
}
