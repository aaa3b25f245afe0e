#include "tools/trustctl/Judging.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <utility>

#include <fmt/format.h>

#include "services/common/DecisionStore.h"
#include "services/common/PrintableText.h"
#include "services/common/TimeText.h"
#include "tools/trustctl/FileDescriptor.h"
#include "tools/trustctl/Options.h"

namespace {

constexpr int longestTimeoutSeconds = 24 * 60 * 60;
constexpr std::size_t longestStoreName = 64;

// More than one colon is an IPv6 address.
bool endsWithPort(const std::string& domain) {
  const std::size_t colon = domain.find(':');
  return colon != std::string::npos &&
         domain.find_first_not_of("0123456789", colon + 1) == std::string::npos;
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

// Services that judge by other roots or another clock than asked for must not be asked.
bool needsPrivateJudgement(const JudgingOptions& options) {
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
bool asksUser(const JudgingOptions& options) {
  return !options.noDialog && (options.dialog || (!options.json && !options.at && isAtTerminal()));
}

std::string storeToUse(const JudgingOptions& options) {
  return options.store.empty() ? ownDecisionStore()
                               : std::filesystem::absolute(options.store).string();
}

}  // namespace

void addJudgingOptions(CLI::App* command, JudgingOptions* options, const char* timeoutMeans) {
  addOption(command, "--alt-domain", &options->altDomains,
            "A further name that will do; repeatable", "NAME")
      .oneValueEach();
  Option application = addOption(command, "--application", &options->application,
                                 "Trust store: its application", "NAME")
                           .notEmpty();
  Option className =
      addOption(command, "--class", &options->className, "Trust store: its class", "NAME")
          .notEmpty()
          .needs(application);
  application.needs(className);
  ServiceSettings& settings = options->settings;
  addOption(command, "--cafile", &settings.cafile, "Trust these roots, not the system's", "FILE")
      .notEmpty();
  addOption(command, "--capath", &settings.capath, "The same, from all files of a directory", "DIR")
      .notEmpty();
  addOption(command, "--crlfile", &settings.crlfile, "Revocation lists to heed as well", "FILE")
      .notEmpty();
  addOption(command, "--at", &options->at,
            "Judge as of this time: 2026-01-31, RFC 3339 or @seconds", "TIME")
      .notEmpty();
  addOption(command, "--timeout", &options->timeoutSeconds, timeoutMeans, "SECONDS")
      .between(1, longestTimeoutSeconds);
  addFlag(command, "--private", &options->ownServices, "Start services of this run's own");
  addOption(command, "--store", &options->store,
            "Where your decisions are kept (~/vallorin/certexcept)", "DIR")
      .notEmpty();
  addFlag(command, "--json", &options->json, "One JSON object on one line, for programs");
}

void addAskingOptions(CLI::App* command, JudgingOptions* options) {
  const Option dialog =
      addOption(command, "--dialog", &options->dialog,
                "How to ask about a chain that is not trusted: terminal, policy:decline, "
                "policy:once or policy:always",
                "FACE")
          .oneOf({"terminal", "policy:decline", "policy:once", "policy:always"});
  addFlag(command, "--no-dialog", &options->noDialog, "Never ask").excludes(dialog);
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

void requireSound(JudgingOptions* options) {
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

Judging::Judging(const JudgingOptions& options)
    : options_(options), isPrivate_(needsPrivateJudgement(options)), store_(storeToUse(options)) {
  if (isPrivate_) {
    services_.startCertificateManager(options.settings);
  }
}

Question Judging::questionAbout(std::vector<CertificateDer> chain,
                                const std::optional<std::string>& domain) const {
  return {std::move(chain),    domain,
          options_.altDomains, options_.application,
          options_.className,  options_.timeoutSeconds,
          isPrivate_,          store_};
}

Verdict Judging::judge(std::vector<CertificateDer> chain,
                       const std::optional<std::string>& domain) {
  Verification verification(questionAbout(std::move(chain), domain));
  if (verification.mayAsk() && asksUser(options_)) {
    ask(&verification);
  }
  return verification.verdict();
}

void Judging::ask(Verification* verification) {
  const bool needsOwn = options_.dialog || options_.ownServices || !serviceIsRunning("dialog");
  if (!hasDialog_ && needsOwn) {
    const std::string face = options_.dialog.value_or("terminal");
    if (face == "terminal") {
      turn_.await();
    }
    services_.startDialog({face, store_});
    hasDialog_ = true;
  }
  verification->ask();
}
