#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "services/common/DecisionStore.h"
#include "services/common/PrintableText.h"
#include "services/common/TimeText.h"
#include "tools/trustctl/Command.h"
#include "tools/trustctl/FileDescriptor.h"
#include "tools/trustctl/PrivateServices.h"
#include "tools/trustctl/ServiceSettings.h"
#include "tools/trustctl/TerminalTurn.h"
#include "tools/trustctl/VerdictReport.h"

namespace {

constexpr int longestTimeoutSeconds = 24 * 60 * 60;
constexpr std::size_t longestStoreName = 64;

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
  std::vector<std::string> altDomains;
  std::string application;
  std::string className;
  std::optional<std::string> at;
  int timeoutSeconds = 30;
  bool ownServices = false;
  bool json = false;
  std::optional<std::string> dialog;
  bool noDialog = false;
  std::string store;
  ServiceSettings settings;  // its time comes from `at`
  std::vector<std::string> files;
};

[[noreturn]] void refuse(const std::string& text) {
  throw CommandError(ExitStatus::wrongUse, text);
}

// More than one colon is an IPv6 address.
bool endsWithPort(const std::string& domain) {
  const std::size_t colon = domain.find(':');
  return colon != std::string::npos &&
         domain.find_first_not_of("0123456789", colon + 1) == std::string::npos;
}

void requireDomain(const std::string& domain) {
  if (domain.empty()) {
    refuse("the domain is empty; give a name such as example.org");
  }
  if (domain.find('/') != std::string::npos) {
    refuse(fmt::format("'{}' is not a domain; give the name alone, such as example.org",
                       printableText(domain)));
  }
  if (endsWithPort(domain)) {
    refuse(fmt::format("'{}' is a name with a port; leave the port out", printableText(domain)));
  }
  if (domain.back() == '.') {
    refuse(fmt::format("'{}' ends in a dot, which no certificate's name does; leave the dot out",
                       printableText(domain)));
  }
}

// The library puts these names into paths and requests as they are.
void requireStoreName(const char* option, const std::string& name) {
  const bool isPlain = std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '_' || c == '-';
  });
  if (!isPlain || name.empty() || name.front() == '.' || name.size() > longestStoreName) {
    refuse(
        fmt::format("'{}' cannot be a name for {}; use letters, digits, '.', '_' and '-', at "
                    "most {}, the first not '.'",
                    printableText(name), option, longestStoreName));
  }
}

void checkOptions(VerifyOptions* options) {
  if (options->domain) {
    requireDomain(*options->domain);
  } else if (!options->altDomains.empty()) {
    refuse("--alt-domain adds to a domain; give that with --domain");
  }
  for (const std::string& domain : options->altDomains) {
    requireDomain(domain);
  }
  if (!options->application.empty() || !options->className.empty()) {
    requireStoreName("--application", options->application);
    requireStoreName("--class", options->className);
  }
  if (options->at) {
    options->settings.time = parseTime(*options->at);
    if (!options->settings.time) {
      refuse(
          fmt::format("'{}' is not a time; give --at as 2026-01-31, 2026-01-31T12:00:00Z or "
                      "@1769860800",
                      printableText(*options->at)));
    }
  }
  if (options->dialog && options->at) {
    refuse("--dialog asks about now, and --at judges as of another time; leave one of them out");
  }
  requireUsable(options->settings);
}

// Services that judge by other roots or another clock than asked for must not be asked.
bool needsPrivateJudgement(const VerifyOptions& options) {
  if (options.ownServices) {
    return true;
  }
  const bool running = serviceIsRunning("certmgr");
  if (running && options.settings.any()) {
    refuse(
        "--cafile, --capath, --crlfile and --at cannot be used with the certificate services "
        "that are running; add --private to judge with services of this run's own");
  }
  return !running;
}

// A job in the background has a terminal, too, but the shell or another program is using it.
bool isAtTerminal() {
  const FileDescriptor terminal(open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC));
  return terminal.get() != -1 && tcgetpgrp(terminal.get()) == getpgrp() &&
         isatty(STDOUT_FILENO) == 1 && isatty(STDERR_FILENO) == 1;
}

// A person at a terminal is asked; scripts, and what is judged as of another day, are not.
bool asksUser(const VerifyOptions& options) {
  return !options.noDialog && (options.dialog || (!options.json && !options.at && isAtTerminal()));
}

std::string storeToUse(const VerifyOptions& options) {
  return options.store.empty() ? ownDecisionStore()
                               : std::filesystem::absolute(options.store).string();
}

void ask(const VerifyOptions& options, const std::string& store, TerminalTurn* turn,
         PrivateServices* services, Verification* verification) {
  if (options.dialog || options.ownServices || !serviceIsRunning("dialog")) {
    const std::string face = options.dialog.value_or("terminal");
    if (face == "terminal") {
      turn->await();
    }
    services->startDialog({face, store});
  }
  verification->ask();
}

Verdict verify(const VerifyOptions& options) {
  Question question{readCertificates(options.files),
                    options.domain,
                    options.altDomains,
                    options.application,
                    options.className,
                    options.timeoutSeconds,
                    needsPrivateJudgement(options),
                    storeToUse(options)};
  TerminalTurn turn;  // outlives the service that puts the terminal right
  PrivateServices services;
  if (question.isPrivate) {
    services.startCertificateManager(options.settings);
  }
  Verification verification(question);
  if (verification.mayAsk() && asksUser(options)) {
    ask(options, question.store, &turn, &services, &verification);
  }
  return verification.verdict();
}

bool wantsColours() {
  const char* refused = getenv("NO_COLOR");
  const char* terminal = getenv("TERM");
  const bool isDumb = terminal != nullptr && strcmp(terminal, "dumb") == 0;
  return isatty(STDOUT_FILENO) == 1 && refused == nullptr && !isDumb;
}

ExitStatus runVerify(VerifyOptions* options) {
  try {
    checkOptions(options);
    const Verdict verdict = verify(*options);
    const std::optional<std::int64_t>& at = options->settings.time;
    const ReportContext context{options->domain, at.value_or(currentTime()), at.has_value(),
                                wantsColours()};
    fmt::print("{}", options->json ? writeJsonReport(verdict, context)
                                   : writeTextReport(verdict, context));
    return verdict.trusted ? ExitStatus::trusted : ExitStatus::notTrusted;
  } catch (const CommandError& error) {
    if (options->json) {
      fmt::print("{}", writeJsonError(error.what(), options->domain));
    }
    throw;
  }
}

// An empty value, as of a variable that is not set, must not pass for an option left out.
CLI::Option* refuseEmpty(CLI::Option* option) {
  return option->check(
      [](const std::string& value) {
        return value.empty() ? "the value is empty; give one or leave the option out" : "";
      },
      "");
}

}  // namespace

void addVerifyCommand(CLI::App* program, CommandAction* chosen) {
  CLI::App* command = program->add_subcommand("verify", "Judge a certificate chain from files");
  command->footer(help);
  const auto options = std::make_shared<VerifyOptions>();
  command->add_option("-d,--domain", options->domain, "The server's name that you asked for")
      ->type_name("NAME");
  command
      ->add_option("--alt-domain", options->altDomains, "A further name that will do; repeatable")
      ->type_name("NAME")
      ->allow_extra_args(false);
  CLI::Option* application = refuseEmpty(
      command->add_option("--application", options->application, "Trust store: its application")
          ->type_name("NAME"));
  CLI::Option* className =
      refuseEmpty(command->add_option("--class", options->className, "Trust store: its class")
                      ->type_name("NAME")
                      ->needs(application));
  application->needs(className);
  ServiceSettings& settings = options->settings;
  refuseEmpty(
      command->add_option("--cafile", settings.cafile, "Trust these roots, not the system's")
          ->type_name("FILE"));
  refuseEmpty(
      command->add_option("--capath", settings.capath, "The same, from all files of a directory")
          ->type_name("DIR"));
  refuseEmpty(command->add_option("--crlfile", settings.crlfile, "Revocation lists to heed as well")
                  ->type_name("FILE"));
  refuseEmpty(command
                  ->add_option("--at", options->at,
                               "Judge as of this time: 2026-01-31, RFC 3339 or @seconds")
                  ->type_name("TIME"));
  command->add_option("--timeout", options->timeoutSeconds, "Wait so long for the services (30)")
      ->type_name("SECONDS")
      ->check(CLI::Range(1, longestTimeoutSeconds).description(""));
  command->add_flag("--private", options->ownServices, "Start services of this run's own");
  command
      ->add_option("--dialog", options->dialog,
                   "How to ask about a chain that is not trusted: terminal, policy:decline, "
                   "policy:once or policy:always")
      ->type_name("FACE")
      ->check(CLI::IsMember({"terminal", "policy:decline", "policy:once", "policy:always"})
                  .description(""));
  command->add_flag("--no-dialog", options->noDialog, "Never ask")->excludes("--dialog");
  refuseEmpty(command
                  ->add_option("--store", options->store,
                               "Where your decisions are kept (~/vallorin/certexcept)")
                  ->type_name("DIR"));
  command->add_flag("--json", options->json, "One JSON object on one line, for programs");
  command->add_option("FILE", options->files, "Certificates, the server's own first; - for stdin")
      ->required()
      ->type_name("");
  command->callback(
      [options, chosen] { *chosen = [options] { return runVerify(options.get()); }; });
}
