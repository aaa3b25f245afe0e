#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "services/common/CertificateView.h"
#include "services/common/PrintableText.h"
#include "services/common/TextWriter.h"
#include "services/common/TimeText.h"
#include "services/common/WarningTexts.h"
#include "tools/trustctl/CertificateInput.h"
#include "tools/trustctl/InputFile.h"
#include "tools/trustctl/Judging.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/VerdictReport.h"
#include "tools/trustctl/exceptions/Age.h"
#include "tools/trustctl/exceptions/ExceptionsCommands.h"
#include "tools/trustctl/exceptions/Fingerprint.h"
#include "tools/trustctl/exceptions/RecordText.h"
#include "tools/trustctl/exceptions/StoreOption.h"
#include "tools/trustctl/exceptions/StoreWriter.h"
#include "tools/trustctl/exceptions/WarningList.h"

namespace {

constexpr const char* help =
    "For scripts and fleets: stores the decision that \"always\" would store, without a question.\n"
    "It holds for exactly this domain, this chain and this set of warnings, so FILE must hold the\n"
    "chain that the verdict settles on, as verify --json lists it (often with the root), in its\n"
    "order, and --warnings what it lists there, no more and no less. --sha256 is the fingerprint "
    "of\n"
    "the server's own certificate, from a source that you trust; it guards against a wrong "
    "file.\n\n"
    "The library knows no expiry: --expires and --for are for exceptions prune --expired.\n\n"
    "Examples:\n"
    "  trustctl verify --domain printer.example --json chain.pem |\n"
    "      jq -r '.chain[0].sha256, (.warnings | join(\",\")), .chain[].subject'\n"
    "  trustctl exceptions add --domain printer.example --warnings NO_TRUSTED \\\n"
    "      --sha256 \"$FINGERPRINT\" --for 90d --reason 'ticket 4711' chain.pem\n"
    "  trustctl exceptions add --no-domain --warnings NO_TRUSTED,CERT_EXPIRY \\\n"
    "      --sha256 \"$FINGERPRINT\" --store /srv/app/certexcept chain.pem\n\n"
    "Exit status: 0 stored, or there already; 2 wrong use or unusable input; 3 it cannot be "
    "stored.\n";

constexpr std::size_t longestReason = 1000;

struct AddOptions {
  std::optional<std::string> domain;
  bool noDomain = false;
  std::string warnings;
  std::string sha256;
  bool evenRevoked = false;
  std::optional<std::string> expires;
  std::optional<std::string> lifetime;
  std::optional<std::string> reason;
  std::vector<std::string> files;
  StoreOption store;
  bool json = false;
};

void checkDomain(const AddOptions& options) {
  if (options.domain.has_value() == options.noDomain) {
    refuse(options.noDomain
               ? "--no-domain and --domain exclude each other; leave one of them out"
               : "for which domain? give --domain NAME, or --no-domain for verdicts without one");
  }
  if (options.domain) {
    requireDomain(*options.domain);
  }
}

std::optional<std::int64_t> expiryOf(const AddOptions& options, std::int64_t now) {
  if (options.lifetime) {
    const auto span = parseAge(*options.lifetime);
    if (!span || *span == 0) {
      refuse(fmt::format("'{}' is not a span of time; give --for as 12h, 90d, 2w or 1y",
                         printableText(*options.lifetime)));
    }
    if (momentText(now + *span).empty()) {
      refuse(fmt::format("--for {} ends after the year 9999; give a shorter span",
                         printableText(*options.lifetime)));
    }
    return now + *span;
  }
  if (!options.expires) {
    return std::nullopt;
  }
  const auto moment = parseTime(*options.expires);
  if (!moment) {
    refuse(
        fmt::format("'{}' is not a time; give --expires as 2026-01-31, 2026-01-31T12:00:00Z or "
                    "@1769860800",
                    printableText(*options.expires)));
  }
  if (*moment <= now) {
    refuse(fmt::format("--expires {} has passed; give a moment to come", formatTime(*moment)));
  }
  return moment;
}

CertificateView viewLeaf(const AddOptions& options, const CertificateDer& leaf) {
  try {
    return viewCertificate(leaf);
  } catch (const std::runtime_error& error) {
    refuse(fmt::format("{} begins with a certificate that cannot be read: {}; give another",
                       inputName(options.files.front()), error.what()));
  }
}

void requireFingerprint(const AddOptions& options, const CertificateView& leaf) {
  const auto fingerprint = parseFingerprint(options.sha256);
  if (!fingerprint) {
    refuse(
        fmt::format("'{}' is not a SHA-256 fingerprint; give its 64 hexadecimal digits, with "
                    "colons or without",
                    printableText(options.sha256)));
  }
  if (*fingerprint != leaf.sha256) {
    refuse(
        fmt::format("--sha256 is not the fingerprint of the first certificate, {}, which is "
                    "{}; make sure that the file is the right one",
                    fitLines(leaf.subject, 80, 1).front(), leaf.sha256));
  }
}

ExceptionRecord makeRecord(const AddOptions& options) {
  checkDomain(options);
  const std::int64_t now = currentTime();
  ExceptionRecord record;
  record.domain = options.domain;
  record.warnings = parseWarningList(options.warnings);
  refuseRevoked(record.warnings, options.evenRevoked, "--warnings");
  record.created = now;
  record.expires = expiryOf(options, now);
  record.reason = options.reason;
  if (record.reason && record.reason->size() > longestReason) {
    refuse(fmt::format("--reason is longer than {} bytes; shorten it", longestReason));
  }
  if (record.reason && !isValidUtf8(*record.reason)) {
    refuse("--reason is not valid UTF-8; give it in that encoding");
  }
  record.chain = readCertificates(options.files);
  return record;
}

// ---- the report

void printField(const char* label, const std::string& escaped) {
  constexpr std::size_t labelColumns = 18;
  for (const std::string& line : fieldLines(escaped, pageColumns() - labelColumns)) {
    print(fmt::format("    {:<{}}{}\n", label, labelColumns - 4, line));
    label = "";
  }
}

void printText(const ExceptionRecord& record, const CertificateView& leaf, bool stored) {
  print(stored ? "Stored:\n" : "Nothing to do: this very decision is stored already.\n");
  printField("domain", domainWords(record.domain));
  printField("in spite of", warningWords(record.warnings));
  printField("certificate", leaf.subject);
  printField("SHA-256", leaf.sha256);
}

void printJson(const ExceptionRecord& record, const CertificateView& leaf, bool stored) {
  TextWriter object(TextWriter::Form::json);
  object.add("stored", stored);
  if (record.domain) {
    object.add("domain", escapeText(*record.domain));
  }
  object.addArray("warnings", namesOfWarnings(record.warnings));
  object.add("subject", leaf.subject);
  object.add("sha256", leaf.sha256);
  object.add("hash", hashOf(record));
  print(object.text() + "\n");
}

ExitStatus runAdd(const AddOptions& options) {
  return withJsonErrors(options.json, [&options] {
    const ExceptionRecord record = makeRecord(options);
    const CertificateView leaf = viewLeaf(options, record.chain.front());
    requireFingerprint(options, leaf);
    const bool stored =
        StoreWriter(options.store.directory()).add(record) == StoreWriter::Added::stored;
    options.json ? printJson(record, leaf, stored) : printText(record, leaf, stored);
    return ExitStatus::trusted;
  });
}

}  // namespace

void addAddCommand(CLI::App* group, CommandAction* chosen) {
  CLI::App* command = addCommand(group, "add", "Store a decision without a question", help);
  const auto options = std::make_shared<AddOptions>();
  addOption(command, "-d,--domain", &options->domain, "The server's name, byte for byte", "NAME");
  addFlag(command, "--no-domain", &options->noDomain, "For verdicts that no domain was given for");
  addOption(command, "--warnings", &options->warnings, "The warnings to accept", "WARNING,...")
      .required()
      .notEmpty();
  addOption(command, "--sha256", &options->sha256, "Of the server's own certificate", "HEX")
      .required()
      .notEmpty();
  addFlag(command, "--even-revoked", &options->evenRevoked, "Allow REVOKED among the warnings");
  Option expires =
      addOption(command, "--expires", &options->expires, "Note when it is to go", "TIME")
          .notEmpty();
  addOption(command, "--for", &options->lifetime, "The same as a span: 12h, 90d, 2w, 1y", "SPAN")
      .notEmpty()
      .excludes(expires);
  addOption(command, "--reason", &options->reason, "Note why", "TEXT").notEmpty();
  addStoreOption(command, &options->store);
  addFlag(command, "--json", &options->json, "One JSON object on one line, for programs");
  addOption(command, "FILE", &options->files, "The chain, the server's own first; - for stdin")
      .required();
  onCall(command, chosen, [options] { return runAdd(*options); });
}
