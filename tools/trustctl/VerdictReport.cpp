#include "tools/trustctl/VerdictReport.h"

#include "services/common/TimeText.h"
#include "tools/trustctl/Page.h"

ExitStatus reportVerdict(const JudgingOptions& options, const std::optional<std::string>& domain,
                         const std::function<Verdict()>& judge, const ConnectionFacts* connection) {
  const std::optional<std::int64_t>& at = options.settings.time;
  ReportContext context;
  try {
    const Verdict verdict = judge();
    context.domain = domain;
    context.time = at.value_or(currentTime());
    context.timeGiven = at.has_value();
    context.colours = wantsColours();
    context.columns = pageColumns();
    context.connection = connection;
    print(options.json ? writeJsonReport(verdict, context) : writeTextReport(verdict, context));
    return verdict.trusted ? ExitStatus::trusted : ExitStatus::notTrusted;
  } catch (const CommandError& error) {
    if (options.json) {
      context.domain = domain;
      print(writeJsonError(error.what(), context));
    }
    throw;
  }
}

ExitStatus withJsonErrors(bool json, const std::function<ExitStatus()>& command) {
  try {
    return command();
  } catch (const CommandError& error) {
    if (json) {
      print(writeJsonError(error.what(), {}));
    }
    throw;
  }
}
