#ifndef TOOLS_TRUSTCTL_VERDICTREPORT_H
#define TOOLS_TRUSTCTL_VERDICTREPORT_H

#include <cstdint>
#include <optional>
#include <string>

#include "tools/trustctl/Verification.h"

// What a report says besides the verdict.
struct ReportContext {
  std::optional<std::string> domain;  // as it was asked for, not yet escaped
  std::int64_t time = 0;              // the moment of the check, seconds since 1970
  bool timeGiven = false;             // --at: say so
  bool colours = false;
};

// The report for people: verdict, reasons, certificate path; lines of at most 80 columns, each
// ended. Texts from outside stand behind a label or an indentation and never begin a line.
std::string writeTextReport(const Verdict& verdict, const ReportContext& context);

// The report for programs: one JSON object on one line, ended; see docs/trustctl.md.
std::string writeJsonReport(const Verdict& verdict, const ReportContext& context);

// The same where there is no verdict: "domain" (when one was asked for) and "error".
std::string writeJsonError(const std::string& error, const std::optional<std::string>& domain);

#endif
