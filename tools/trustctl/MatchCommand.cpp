#include <algorithm>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include <fmt/format.h>

#include "services/common/CertificateView.h"
#include "services/common/PrintableText.h"
#include "services/common/TextWriter.h"
#include "tools/trustctl/CertificateInput.h"
#include "tools/trustctl/Command.h"
#include "tools/trustctl/InputFile.h"
#include "tools/trustctl/Judging.h"
#include "tools/trustctl/NameVerdict.h"
#include "tools/trustctl/NamedCertificate.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/VerdictReport.h"

namespace {

constexpr const char* help =
    "Says which name of a certificate covers the domain or, for each name, why it does not. FILE\n"
    "is PEM, DER or PKCS#7, - is standard input; of a chain the first certificate counts, which\n"
    "is the server's own. Nothing but names is looked at: whether the certificate may be trusted,\n"
    "verify says.\n\n"
    "--names asks about names that no certificate bears yet. Each is a DNS name, unless it is\n"
    "marked: CN:NAME, IP:ADDRESS, URI:URI, email:ADDRESS.\n\n"
    "Examples:\n"
    "  trustctl match www.example.org chain.pem\n"
    "  trustctl match www.example.org --names '*.example.org,example.org'\n"
    "  trustctl match www.example.org --names 'CN:www.example.org,mail.example.org' --json\n\n"
    "Exit status: 0 covered, 1 not covered, 2 wrong use or unusable input.\n";

struct MatchOptions {
  std::string domain;
  std::optional<std::string> file;
  std::optional<std::string> names;
  bool json = false;
};

// What is judged, and what is told of it.
struct Subject {
  X509Ptr certificate;
  std::optional<std::string> name;  // of a real certificate; escaped
};

Subject readSubject(const MatchOptions& options) {
  if (options.names) {
    return {certificateWithNames(parseNames(*options.names)), {}};
  }
  const CertificateDer leaf = readCertificates({*options.file}).front();
  try {
    return {parseCertificate(leaf), viewCertificate(leaf).subject};
  } catch (const std::runtime_error& error) {
    refuse(fmt::format("{} begins with a certificate that cannot be read: {}; give another",
                       inputName(*options.file), error.what()));
  }
}

void checkOptions(const MatchOptions& options) {
  requireDomain(options.domain);
  const bool isPlain = std::none_of(options.domain.begin(), options.domain.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f || byte == '\\';
  });
  if (!isPlain) {
    refuse(
        fmt::format("'{}' holds what no name of a host can hold; give a name such as "
                    "www.example.org",
                    printableText(options.domain)));
  }
  if (options.file.has_value() == options.names.has_value()) {
    refuse(options.file ? "--names takes the place of a FILE; leave one of them out"
                        : "there is no name to match; give a FILE, or names with --names");
  }
}

std::string shortened(const std::string& bytes, std::size_t columns) {
  return fitLines(escapeText(bytes), std::max<std::size_t>(columns, 40), 1).front();
}

void printFinding(const NameVerdict& verdict, const NameFinding& finding) {
  constexpr std::size_t labelColumns = 15;
  const char* label = kindText(finding.name.kind);
  for (const std::string& line :
       fieldLines(escapeText(finding.name.text), pageColumns() - labelColumns)) {
    print(fmt::format("  {:<{}}{}\n", label, labelColumns - 2, line));
    label = "";
  }
  const std::string reason = wrapped(reasonText(verdict, finding), labelColumns);
  const bool covers = finding.match.reason == NameReason::covers;
  print((covers ? painted(Colour::green, reason) : reason) + "\n");
}

void printText(const MatchOptions& options, const Subject& subject, const NameVerdict& verdict) {
  const std::string word =
      verdict.covered ? painted(Colour::green, "COVERED") : painted(Colour::red, "NOT COVERED");
  print(fmt::format("{}  {}\n", word, shortened(options.domain, pageColumns() - 13)));
  if (subject.name) {
    print("\nThe certificate:\n");
    for (const std::string& line : fieldLines(*subject.name, pageColumns() - 2)) {
      print("  " + line + "\n");
    }
  }
  print(verdict.findings.empty() ? "\nIt bears no name at all.\n" : "\nIts names:\n");
  for (const NameFinding& finding : verdict.findings) {
    printFinding(verdict, finding);
  }
  if (verdict.unreadable) {
    print(wrapped("It has alternative names, too, that cannot be read and cover nothing.", 2) +
          "\n");
  }
}

void printJson(const MatchOptions& options, const Subject& subject, const NameVerdict& verdict) {
  TextWriter object(TextWriter::Form::json);
  object.add("domain", escapeText(options.domain));
  object.add("covered", verdict.covered);
  if (subject.name) {
    object.add("subject", *subject.name);
  }
  object.add("unreadable", verdict.unreadable);
  object.startArray("names");
  for (const NameFinding& finding : verdict.findings) {
    object.startObject(nullptr);
    object.add("kind", kindWord(finding.name.kind));
    object.add("name", escapeText(finding.name.text));
    object.add("reason", reasonWord(finding.match.reason));
    object.endObject();
  }
  object.endArray();
  print(object.text() + "\n");
}

ExitStatus runMatch(const MatchOptions& options) {
  try {
    checkOptions(options);
    const Subject subject = readSubject(options);
    const NameVerdict verdict = judgeNames(subject.certificate.get(), options.domain);
    options.json ? printJson(options, subject, verdict) : printText(options, subject, verdict);
    return verdict.covered ? ExitStatus::trusted : ExitStatus::notTrusted;
  } catch (const CommandError& error) {
    if (options.json) {
      ReportContext context;
      context.domain = options.domain;
      print(writeJsonError(error.what(), context));
    }
    throw;
  }
}

}  // namespace

void addMatchCommand(CLI::App* program, CommandAction* chosen) {
  CLI::App* command =
      addCommand(program, "match", "Which name of a certificate covers a domain", help);
  const auto options = std::make_shared<MatchOptions>();
  addOption(command, "DOMAIN", &options->domain, "The server's name").required();
  addOption(command, "FILE", &options->file, "The certificate; - for stdin");
  addOption(command, "--names", &options->names, "Names in place of a certificate's", "NAME,...")
      .notEmpty();
  addFlag(command, "--json", &options->json, "One JSON object on one line, for programs");
  onCall(command, chosen, [options] { return runMatch(*options); });
}
