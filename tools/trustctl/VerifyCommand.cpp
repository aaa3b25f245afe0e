#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tools/trustctl/Command.h"
#include "tools/trustctl/Judging.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/VerdictReport.h"
#include "tools/trustctl/many/ManyInputs.h"
#include "tools/trustctl/many/ManyVerdicts.h"

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
    "  trustctl verify --domain example.org --no-dialog chains/\n"
    "  trustctl verify --from list.tsv --json\n"
    "  openssl s_client -connect example.org:443 -servername example.org -showcerts </dev/null |\n"
    "      trustctl verify --domain example.org -\n\n"
    "Many chains: a directory stands for all files below it, each a chain of its own. They are\n"
    "judged several at a time, nobody is asked, and a summary counts the warnings.\n\n"
    "Exit status: 0 trusted, 1 not trusted, 2 wrong use or unusable input, 3 no verdict; of many\n"
    "chains the highest that any of them has.\n";

constexpr int mostJobs = 64;

struct VerifyOptions {
  std::optional<std::string> domain;
  std::vector<std::string> files;
  std::string list;      // of many inputs; empty for none
  std::size_t jobs = 0;  // how many of them at a time; 0: as many as there are processors
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

ExitStatus verifyMany(VerifyOptions* options) {
  checkOptions(options);
  if (options->judging.dialog) {
    refuse("--dialog asks about one chain; leave it out where many are judged");
  }
  std::vector<ManyInput> inputs;
  if (!options->list.empty()) {
    inputs = readList(options->list);
  }
  for (ManyInput& file : listFiles(options->files, options->domain)) {
    inputs.push_back(std::move(file));
  }
  if (inputs.empty()) {
    refuse("there is no file to judge; name files, or directories with some");
  }
  const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
  return judgeMany(options->judging, inputs, options->jobs == 0 ? processors : options->jobs);
}

ExitStatus runVerify(VerifyOptions* options) {
  if (!options->list.empty() || nameADirectory(options->files)) {
    return withJsonErrors(options->judging.json, [options] { return verifyMany(options); });
  }
  if (options->files.empty()) {
    refuse(
        "give the certificates to judge: FILE..., or --from LIST; learn more with: "
        "trustctl verify --help");
  }
  return reportVerdict(options->judging, options->domain, [options] {
    checkOptions(options);
    std::vector<CertificateDer> chain = readCertificates(options->files);
    return Judging(options->judging).judge(std::move(chain), options->domain);
  });
}

}  // namespace

void addVerifyCommand(CLI::App* program, CommandAction* chosen) {
  CLI::App* command = addCommand(program, "verify", "Judge a certificate chain from files", help);
  const auto options = std::make_shared<VerifyOptions>();
  addOption(command, "-d,--domain", &options->domain, "The server's name that you asked for",
            "NAME");
  addJudgingOptions(command, &options->judging);
  addAskingOptions(command, &options->judging);
  addOption(command, "--from", &options->list,
            "Judge many: lines of a domain, a tab and a file; - for stdin", "LIST")
      .notEmpty();
  addOption(command, "--jobs", &options->jobs, "Judge so many at a time (one a processor)", "COUNT")
      .between(1, mostJobs);
  addOption(command, "FILE", &options->files,
            "Certificates of one chain, the server's own first; - for stdin. With a "
            "directory among them each file is a chain of its own");
  onCall(command, chosen, [options] { return runVerify(options.get()); });
}
