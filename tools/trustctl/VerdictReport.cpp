#include "tools/trustctl/VerdictReport.h"

#include "services/common/TimeText.h"
#include "tools/trustctl/Page.h"

ExitStatus reportVerdict(const JudgingOptions& options, const std::optional<std::string>& domain,
                         const std::function<Verdict()>& judge) {
  try {
    const Verdict verdict = judge();
    const std::optional<std::int64_t>& at = options.settings.time;
    const ReportContext context{domain, at.value_or(currentTime()), at.has_value(), wantsColours(),
                                pageColumns()};
    print(options.json ? writeJsonReport(verdict, context) : writeTextReport(verdict, context));
    return verdict.trusted ? ExitStatus::trusted : ExitStatus::notTrusted;
  } catch (const CommandError& error) {
    if (options.json) {
      print(writeJsonError(error.what(), domain));
    }
    throw;
  }
}
