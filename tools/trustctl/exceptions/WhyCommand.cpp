#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "services/common/TextWriter.h"
#include "tools/trustctl/Judging.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/VerdictReport.h"
#include "tools/trustctl/connect/HostAndPort.h"
#include "tools/trustctl/connect/Socket.h"
#include "tools/trustctl/connect/TlsSession.h"
#include "tools/trustctl/exceptions/DecisionDifference.h"
#include "tools/trustctl/exceptions/ExceptionsCommands.h"
#include "tools/trustctl/exceptions/RecordText.h"
#include "tools/trustctl/exceptions/StoreOption.h"

namespace {

constexpr const char* help =
    "\"I accepted this, why am I asked again?\" Judges the chain in FILE as verify does, but "
    "without\n"
    "what is stored, and compares the verdict with the nearest stored decision: the domain's "
    "text,\n"
    "each warning more or less, each certificate that changed, and whether its key did. Nobody is\n"
    "asked and nothing is changed. Give the options that the verdict was found with.\n\n"
    "--connect takes the chain from the server itself, DOMAIN at port 443 unless HOST[:PORT] is\n"
    "given. Without FILE and --connect it tells what is stored for the domain, or for the nearest\n"
    "one.\n\n"
    "Examples:\n"
    "  trustctl exceptions why printer.example chain.pem\n"
    "  trustctl exceptions why printer.example --cafile company-root.pem chain.pem\n"
    "  trustctl exceptions why printer.example --connect\n"
    "  trustctl exceptions why printer.example --connect 192.0.2.1:8443\n"
    "  trustctl exceptions why printer.example\n\n"
    "Exit status: 0 in force or not needed (without a chain: something is stored), 1 not, 2 wrong "
    "use\n"
    "or unusable input, 3 it cannot be told.\n";

struct WhyOptions {
  std::string domain;
  std::vector<std::string> files;
  bool connects = false;
  std::string server;  // to connect to; empty for the domain
  JudgingOptions judging;
};

void checkOptions(WhyOptions* options) {
  requireDomain(options->domain);
  requireSound(&options->judging);
  if (options->connects && !options->files.empty()) {
    refuse("--connect takes the place of a FILE; leave one of them out");
  }
}

std::vector<CertificateDer> fetchChain(const WhyOptions& options) {
  constexpr int usualPort = 443;
  const HostAndPort target =
      parseHostAndPort(options.server.empty() ? options.domain : options.server);
  Socket socket(target.host, target.port.value_or(usualPort),
                Deadline(options.judging.timeoutSeconds));
  // An address is not named to the server, as the protocol has it.
  const bool isName = isHostName(options.domain) && !parseHostAndPort(options.domain).isAddress;
  return askTlsServer({isName ? options.domain : std::string(), {}}, &socket).chain;
}

// What a decision would have to be; the verdict is found without any.
ExceptionRecord judgeNow(const WhyOptions& options, bool* isTrusted) {
  std::vector<CertificateDer> chain =
      options.connects ? fetchChain(options) : readCertificates(options.files);
  const Judging judging(options.judging);
  Question question = judging.questionAbout(std::move(chain), options.domain);
  question.store.clear();
  const Verification verification(question);
  *isTrusted = verification.verdict().trusted;
  ExceptionRecord now;
  now.domain = options.domain;
  now.warnings = verification.verdict().warnings;
  now.chain = verification.chain();
  return now;
}

ExitStatus answerForChain(const WhyOptions& options, const ExceptionStore& store) {
  bool isTrusted = false;
  const ExceptionRecord now = judgeNow(options, &isTrusted);
  const DecisionAnswer answer = explainDecision(store, now, isTrusted);
  print(options.judging.json ? answerJson(answer) : answerText(answer));
  using State = DecisionAnswer::State;
  return answer.state == State::inForce || answer.state == State::notNeeded
             ? ExitStatus::trusted
             : ExitStatus::notTrusted;
}

// ---- without a chain

std::string storedJson(const WhyOptions& options, const LikelyDecisions& likely) {
  TextWriter object(TextWriter::Form::json);
  object.add("domain", escapeText(options.domain));
  object.add("relation", relationWord(likely.relation));
  std::vector<std::string> files;
  for (const StoredRecord& stored : likely.records) {
    files.push_back(escapeText(stored.fileName));
  }
  object.addArray("files", files);
  return object.text() + "\n";
}

std::string storedText(const WhyOptions& options, const LikelyDecisions& likely) {
  if (likely.records.empty()) {
    return wrapped("Nothing is stored for this domain, nor for one like it.", 0) + "\n";
  }
  const std::string relation = relationText(likely, options.domain);
  std::string out = wrapped(relation.empty() ? "Stored for this domain:" : relation, 0) + "\n\n";
  for (const StoredRecord& stored : likely.records) {
    out += wrapped(recordLine(stored.fileName, stored.record), 2) + "\n";
  }
  return out + "\n" +
         wrapped(
             "Such a decision holds for exactly one chain and set of warnings. Give the "
             "server's chain as FILE to see what differs now.",
             0) +
         "\n";
}

ExitStatus answerForDomain(const WhyOptions& options, const ExceptionStore& store) {
  const LikelyDecisions likely = findLikely(store, options.domain, {});
  print(options.judging.json ? storedJson(options, likely) : storedText(options, likely));
  if (likely.unreadable > 0) {
    printComplaint(
        fmt::format("{} file{} could not be read; see what is wrong with: trustctl "
                    "exceptions doctor",
                    likely.unreadable, likely.unreadable == 1 ? "" : "s"));
  }
  return likely.relation == DomainRelation::same ? ExitStatus::trusted : ExitStatus::notTrusted;
}

ExitStatus runWhy(WhyOptions* options) {
  return withJsonErrors(options->judging.json, [options] {
    checkOptions(options);
    // Private services take HOME, which says where the user's store is.
    const ExceptionStore store(StoreOption{options->judging.store}.directory());
    return options->files.empty() && !options->connects ? answerForDomain(*options, store)
                                                        : answerForChain(*options, store);
  });
}

}  // namespace

void addWhyCommand(CLI::App* group, CommandAction* chosen) {
  CLI::App* command = addCommand(group, "why", "Why you are asked in spite of a decision", help);
  const auto options = std::make_shared<WhyOptions>();
  addOption(command, "DOMAIN", &options->domain, "The server's name that you asked for").required();
  addJudgingOptions(command, &options->judging);
  addOption(command, "FILE", &options->files, "The server's chain, its own first; - for stdin");
  Option connect = addOption(command, "--connect", &options->server,
                             "Take the chain from the server, in place of FILE", "[HOST[:PORT]]")
                       .mayLackValue();
  onCall(command, chosen, [options, connect] {
    options->connects = connect.wasGiven();
    return runWhy(options.get());
  });
}
