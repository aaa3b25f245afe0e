#ifndef TOOLS_TRUSTCTL_VERDICTREPORT_H
#define TOOLS_TRUSTCTL_VERDICTREPORT_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/Judging.h"
#include "tools/trustctl/connect/ConnectionFacts.h"

// What a report says besides the verdict.
struct ReportContext {
  std::optional<std::string> domain;  // as it was asked for, not yet escaped
  std::int64_t time = 0;              // the moment of the check, seconds since 1970
  bool timeGiven = false;             // --at: say so
  bool colours = false;
  std::size_t columns = 80;                     // for the text; at least 40
  std::optional<std::string> input = {};        // which of many it is about, not yet escaped
  const ConnectionFacts* connection = nullptr;  // null where the chain is from files; borrowed
};

// The report for people: verdict, reasons, certificate path; lines of at most so many columns,
// each ended. Texts from outside stand behind a label or an indentation and never begin a line.
std::string writeTextReport(const Verdict& verdict, const ReportContext& context);

// The report for programs: one JSON object on one line, ended; see docs/trustctl.md.
std::string writeJsonReport(const Verdict& verdict, const ReportContext& context);

// The same where there is no verdict: "input" and "domain" as above, and "error".
std::string writeJsonError(const std::string& error, const ReportContext& context);

// Has `judge` find the verdict and prints its report in the form that the options ask for. With
// JSON a CommandError is printed there too before it goes on. `judge` may still set the domain and
// fill in the connection, which is null where there is none.
ExitStatus reportVerdict(const JudgingOptions& options, const std::optional<std::string>& domain,
                         const std::function<Verdict()>& judge,
                         const ConnectionFacts* connection = nullptr);

// Runs a command; with JSON a CommandError is printed in that form too before it goes on.
ExitStatus withJsonErrors(bool json, const std::function<ExitStatus()>& command);

#endif
