#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "services/common/TimeText.h"
#include "services/common/WarningTexts.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/VerdictReport.h"
#include "tools/trustctl/connect/ConnectionReport.h"

namespace {

constexpr std::size_t labelColumns = 14;  // where the values of a certificate begin

void writeSentence(const char* words, const ReportContext& context, std::string* out) {
  *out += wrapped(words, 0, context.columns) + "\n";
}

std::string shownDomain(const ReportContext& context) {
  return fitLines(escapeText(*context.domain), std::max<std::size_t>(context.columns - 14, 40), 1)
      .front();
}

const char* decisionText(Decision decision) {
  switch (decision) {
    case Decision::once:
      return "You trust it this once, in spite of the warnings.";
    case Decision::always:
      return "You trust it always, in spite of the warnings; the decision is stored.";
    case Decision::declined:
      break;
  }
  // The dialog service declines as well where it finds nobody to ask.
  return "A question to trust it all the same was declined, or reached nobody.";
}

void writeVerdict(const Verdict& verdict, const ReportContext& context, std::string* out) {
  const std::string word = verdict.trusted ? painted(Colour::green, "TRUSTED", context.colours)
                                           : painted(Colour::red, "NOT TRUSTED", context.colours);
  const std::string domain = context.domain ? shownDomain(context) : "(no domain was checked)";
  *out += fmt::format("{}  {}\n", word, domain);
  if (context.timeGiven) {
    *out += fmt::format("Judged as of {}.\n", formatTime(context.time));
  }
  if (verdict.byException) {
    writeSentence("A stored decision of yours makes it trusted in spite of the warnings.", context,
                  out);
  }
  if (verdict.decision) {
    writeSentence(decisionText(*verdict.decision), context, out);
  }
}

void writeReasons(const Verdict& verdict, const ReportContext& context, std::string* out) {
  const auto reasons = textsOf(verdict.warnings);
  if (reasons.empty()) {
    writeSentence(verdict.trusted ? "The chain leads to a trusted root and passed every check."
                                  : "The service gave no reason that this program knows.",
                  context, out);
    return;
  }
  *out += "\nWhy:\n";
  for (const WarningText* reason : reasons) {
    const std::string name = painted(Colour::yellow, warningName(*reason), context.colours);
    *out += fmt::format("  {}\n{}\n", name, wrapped(reason->summary, 6, context.columns));
  }
}

void writeField(const char* label, const std::string& escaped, const ReportContext& context,
                std::string* out) {
  for (const std::string& line : fieldLines(escaped, context.columns - labelColumns)) {
    *out += fmt::format("    {:<{}}{}\n", label, labelColumns - 4, line);
    label = "";
  }
}

std::string timeText(const std::optional<std::int64_t>& time) {
  return time ? formatTime(*time) : "(not a time)";
}

void writeValidity(const CertificateView& certificate, const ReportContext& context,
                   std::string* out) {
  const std::string times =
      fmt::format("{} to {}", timeText(certificate.notBefore), timeText(certificate.notAfter));
  *out += fmt::format("    {:<{}}{}\n", "valid", labelColumns - 4,
                      wrapped(times, labelColumns, context.columns).substr(labelColumns));
  std::string outside;
  if (certificate.notAfter && *certificate.notAfter < context.time) {
    outside = fmt::format("EXPIRED {} before the check",
                          formatSpan(context.time - *certificate.notAfter));
  } else if (certificate.notBefore && *certificate.notBefore > context.time) {
    outside = fmt::format("NOT VALID YET, only {} after the check",
                          formatSpan(*certificate.notBefore - context.time));
  }
  if (!outside.empty()) {
    *out += fmt::format("    {:<{}}{}\n", "", labelColumns - 4,
                        painted(Colour::red, outside, context.colours));
  }
}

void writePath(const Verdict& verdict, const ReportContext& context, std::string* out) {
  *out += "\n";
  writeSentence("Certificate path, the server's own certificate first:", context, out);
  std::size_t number = 0;
  for (const CertificateView& certificate : verdict.chain) {
    *out += fmt::format("  {}.\n", ++number);
    writeField("subject", certificate.subject, context, out);
    writeField("issued by", certificate.issuer, context, out);
    writeValidity(certificate, context, out);
    writeField("SHA-256", certificate.sha256, context, out);
  }
}

void writeConnection(const ReportContext& context, std::string* out) {
  *out += "\nConnection:\n";
  for (const ConnectionField& field : fieldsOf(*context.connection, context.time)) {
    if (field.isForeign) {
      writeField(field.label, field.value, context, out);
      continue;
    }
    std::string lines = wrapped(field.value, labelColumns, context.columns);
    lines.replace(4, std::strlen(field.label), field.label);
    *out += lines + "\n";
  }
}

}  // namespace

std::string writeTextReport(const Verdict& verdict, const ReportContext& context) {
  std::string out;
  writeVerdict(verdict, context, &out);
  writeReasons(verdict, context, &out);
  writePath(verdict, context, &out);
  if (context.connection != nullptr) {
    writeConnection(context, &out);
  }
  const auto reasons = textsOf(verdict.warnings);
  if (!reasons.empty()) {
    out +=
        fmt::format("\nWhat to do about it: trustctl explain {}\n", warningName(*reasons.front()));
  }
  return out;
}
