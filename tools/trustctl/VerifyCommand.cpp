#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/trustctl/Command.h"
#include "tools/trustctl/Judging.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/VerdictReport.h"

namespace {

constexpr const char* help =
    "FILE holds certificates as PEM, DER or PKCS#7; - is standard input. Give the server's\n"
    "own certificate first, then its intermediates, in one file or in several. The root is\n"
    "not needed: it must be on this machine, or be given with --cafile.\n\n"
    "At a terminal you are asked whether to trust a chain all the same; \"always\" is remembered\n"
    "for exactly that domain, chain and set of warnings.\n\n"
    "Examples:\n"
    "  trustctl verify --domain example.org chain.pem\n"
    "  trustctl verify --domain example.org leaf.pem intermediate.pem\n"
    "  trustctl verify --domain intra.example --cafile company-root.pem chain.pem\n"
    "  trustctl verify --domain example.org --at 2026-01-31 chain.pem\n"
    "  trustctl verify --domain example.org --dialog policy:decline chain.pem\n"
    "  openssl s_client -connect example.org:443 -servername example.org -showcerts </dev/null |\n"
    "      trustctl verify --domain example.org -\n\n"
    "Exit status: 0 trusted, 1 not trusted, 2 wrong use or unusable input, 3 no verdict.\n";

struct VerifyOptions {
  std::optional<std::string> domain;
  std::vector<std::string> files;
  JudgingOptions judging;
};

void checkOptions(VerifyOptions* options) {
  if (options->domain) {
    requireDomain(*options->domain);
  } else if (!options->judging.altDomains.empty()) {
    refuse("--alt-domain adds to a domain; give that with --domain");
  }
  requireSound(&options->judging);
}

ExitStatus runVerify(VerifyOptions* options) {
  return reportVerdict(options->judging, options->domain, [options] {
    checkOptions(options);
    std::vector<CertificateDer> chain = readCertificates(options->files);
    return Judging(options->judging).judge(std::move(chain), options->domain);
  });
}

}  // namespace

void addVerifyCommand(CLI::App* program, CommandAction* chosen) {
  CLI::App* command = program->add_subcommand("verify", "Judge a certificate chain from files");
  command->footer(help);
  const auto options = std::make_shared<VerifyOptions>();
  command->add_option("-d,--domain", options->domain, "The server's name that you asked for")
      ->type_name("NAME");
  addJudgingOptions(command, &options->judging);
  command->add_option("FILE", options->files, "Certificates, the server's own first; - for stdin")
      ->required()
      ->type_name("");
  command->callback(
      [options, chosen] { *chosen = [options] { return runVerify(options.get()); }; });
}
