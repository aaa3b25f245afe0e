#include "tools/trustctl/many/ManyVerdicts.h"

#include <algorithm>
#include <exception>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "services/common/TimeText.h"
#include "services/common/WarningTexts.h"
#include "tools/trustctl/Interruption.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/Progress.h"
#include "tools/trustctl/VerdictReport.h"
#include "tools/trustctl/many/Parallel.h"

namespace {

constexpr std::string_view margin = "             ";  // as wide as a verdict's word
constexpr std::size_t indentation = margin.size();

struct Outcome {
  ExitStatus status = ExitStatus::undecided;
  Verdict verdict;    // where the status tells one
  std::string error;  // where it does not
};

bool isVerdict(ExitStatus status) {
  return status == ExitStatus::trusted || status == ExitStatus::notTrusted;
}

Outcome judgeOne(const Judging& judging, const ManyInput& input) {
  try {
    const Verification verification(
        judging.questionAbout(readCertificates({input.path}), input.domain));
    const Verdict& verdict = verification.verdict();
    return {verdict.trusted ? ExitStatus::trusted : ExitStatus::notTrusted, verdict, {}};
  } catch (const CommandError& error) {
    return {error.status(), {}, error.what()};
  } catch (const Interrupted&) {
    throw;
  } catch (const std::exception& error) {
    return {ExitStatus::undecided, {}, fmt::format("no verdict: {}", printableText(error.what()))};
  }
}

std::string joined(const std::list<std::string>& names) {
  std::string out;
  for (const std::string& name : names) {
    out += (out.empty() ? "" : ", ") + name;
  }
  return out;
}

std::string wordFor(const Outcome& outcome) {
  switch (outcome.status) {
    case ExitStatus::trusted:
      return painted(Colour::green, "TRUSTED") + "      ";
    case ExitStatus::notTrusted:
      return painted(Colour::red, "NOT TRUSTED") + "  ";
    case ExitStatus::wrongUse:
    case ExitStatus::undecided:
      break;
  }
  return painted(Colour::yellow, "NO VERDICT") + "   ";
}

std::string textLines(const ManyInput& input, const Outcome& outcome) {
  std::string out = wordFor(outcome);
  const auto addForeign = [&out](const std::string& text, std::string_view before) {
    for (const std::string& line : fieldLines(text, pageColumns() - indentation)) {
      out.append(before).append(line).append("\n");
      before = margin;
    }
  };
  const auto add = [&out](const std::string& words) { out += wrapped(words, indentation) + "\n"; };
  addForeign(escapeText(input.path), "");
  if (input.domain) {
    addForeign("for " + escapeText(*input.domain), margin);
  }
  if (outcome.verdict.byException) {
    add("a stored decision of yours, in spite of:");
  }
  if (!isVerdict(outcome.status)) {
    add(outcome.error);
  } else if (outcome.verdict.warnings != 0) {
    add(joined(namesOfWarnings(outcome.verdict.warnings)));
  }
  return out;
}

std::string jsonLine(const JudgingOptions& options, const ManyInput& input,
                     const Outcome& outcome) {
  ReportContext context;
  context.input = input.path;
  context.domain = input.domain;
  context.time = options.settings.time.value_or(currentTime());
  return isVerdict(outcome.status) ? writeJsonReport(outcome.verdict, context)
                                   : writeJsonError(outcome.error, context);
}

class Summary {
 public:
  void add(const Outcome& outcome) {
    ++count_;
    gravest_ = std::max(gravest_, outcome.status);
    trusted_ += outcome.status == ExitStatus::trusted ? 1 : 0;
    byException_ += outcome.verdict.byException ? 1 : 0;
    notTrusted_ += outcome.status == ExitStatus::notTrusted ? 1 : 0;
    for (const WarningText* warning : textsOf(outcome.verdict.warnings)) {
      ++byWarning_[warning->flag];
    }
  }

  ExitStatus gravest() const { return gravest_; }

  std::string text() const {
    std::string out =
        fmt::format("{} chain{}: {} trusted{}, {} not trusted, {} without a verdict", count_,
                    count_ == 1 ? "" : "s", trusted_,
                    byException_ == 0 ? "" : fmt::format(" ({} by your decision)", byException_),
                    notTrusted_, count_ - trusted_ - notTrusted_);
    out = "\n" + wrapped(out, 0) + "\n";
    for (const WarningText& warning : warningTexts()) {
      const auto found = byWarning_.find(warning.flag);
      if (found != byWarning_.end()) {
        out += fmt::format("{:>8}  {}\n", found->second, warningName(warning));
      }
    }
    return out;
  }

 private:
  std::size_t count_ = 0;
  std::size_t trusted_ = 0;
  std::size_t byException_ = 0;
  std::size_t notTrusted_ = 0;
  std::map<unsigned long long, std::size_t> byWarning_;
  ExitStatus gravest_ = ExitStatus::trusted;
};

}  // namespace

ExitStatus judgeMany(const JudgingOptions& options, const std::vector<ManyInput>& inputs,
                     std::size_t threads) {
  const Judging judging(options);
  std::vector<std::unique_ptr<Outcome>> outcomes(inputs.size());
  Progress progress("judged", inputs.size(), "chains");
  Summary summary;
  inParallel(
      inputs.size(), threads,
      [&](std::size_t index) {
        outcomes[index] = std::make_unique<Outcome>(judgeOne(judging, inputs[index]));
      },
      [&](std::size_t index) {
        const std::unique_ptr<Outcome> outcome = std::move(outcomes[index]);
        summary.add(*outcome);
        progress.hide();
        print(options.json ? jsonLine(options, inputs[index], *outcome)
                           : textLines(inputs[index], *outcome));
        progress.advance();
      },
      [&] { progress.wait(); });
  progress.hide();
  if (!options.json) {
    print(summary.text());
  }
  return summary.gravest();
}
