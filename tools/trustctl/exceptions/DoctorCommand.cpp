#include <unistd.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "services/common/TextWriter.h"
#include "services/common/TimeText.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/VerdictReport.h"
#include "tools/trustctl/exceptions/ExceptionsCommands.h"
#include "tools/trustctl/exceptions/Repair.h"
#include "tools/trustctl/exceptions/StillStore.h"
#include "tools/trustctl/exceptions/StoreOption.h"

namespace {

constexpr const char* help =
    "Looks for files that the library cannot read, finds under the wrong name or not at all,\n"
    "decisions that are stored twice, and files that others can change. What it finds it "
    "explains.\n"
    "With --repair, decisions get their right names, and what is broken is moved into the store's\n"
    "directory set-aside; nothing is deleted. Needs no --repair to be safe: it changes nothing.\n\n"
    "Examples:\n"
    "  trustctl exceptions doctor\n"
    "  trustctl exceptions doctor --repair\n"
    "  trustctl exceptions doctor --json --store /etc/fleet/exceptions\n\n"
    "Exit status: 0 clean, or all repaired, 1 something is wrong still, 2 wrong use, 3 the store\n"
    "cannot be read or changed.\n";

struct DoctorOptions {
  StoreOption store;
  bool repair = false;
  bool json = false;
};

// In the order of what is said: what was done, then what is left.
using Report = std::vector<RepairStep>;

bool isSolved(const RepairStep& step) {
  return step.repaired || isNote(step.finding);
}

std::string stepText(const RepairStep& step, const std::string& directory) {
  const std::string name = step.finding.entry.empty() ? directory : step.finding.entry;
  const Colour colour = isSolved(step) ? Colour::green : Colour::yellow;
  std::string out = printableText(name, 300) + "\n" + wrapped(step.finding.text, 4) + "\n";
  if (!step.text.empty()) {
    out +=
        painted(colour, wrapped((step.repaired ? "repaired: " : "not repaired: ") + step.text, 4)) +
        "\n";
  }
  return out;
}

std::string stepJson(const RepairStep& step) {
  TextWriter object(TextWriter::Form::json);
  object.add("file", escapeText(step.finding.entry));
  object.add("problem", problemWord(step.finding.problem));
  object.add("harmless", isNote(step.finding));
  object.add("text", step.finding.text);
  object.add("repaired", step.repaired);
  if (!step.text.empty()) {
    object.add("repair", step.text);
  }
  return object.text() + "\n";
}

void printReport(const Report& report, const ExceptionStore& store, bool json) {
  for (const RepairStep& step : report) {
    print(json ? stepJson(step) : stepText(step, store.directory()));
  }
  if (json) {
    return;
  }
  const std::string where = printableText(store.directory(), 300);
  const auto solved = std::count_if(report.begin(), report.end(), isSolved);
  const auto left = static_cast<long>(report.size()) - solved;
  if (left == 0) {
    print(fmt::format("{} is in order\n", where));
  } else {
    print(
        fmt::format("{}: {} to look at; what can be put right: trustctl exceptions doctor "
                    "--repair\n",
                    where, left));
  }
}

// But for those that the report has already.
void addFindings(const std::vector<Finding>& findings, Report* report) {
  std::set<std::pair<std::string, Problem>> known;
  for (const RepairStep& step : *report) {
    if (!step.repaired) {
      known.insert({step.finding.entry, step.finding.problem});
    }
  }
  for (const Finding& finding : findings) {
    if (known.insert({finding.entry, finding.problem}).second) {
      report->push_back({finding, false, {}});
    }
  }
}

Report examine(const ExceptionStore& store) {
  Report report;
  addFindings(Diagnosis(store).examineDirectory(), &report);
  if (!report.empty() && access(store.directory().c_str(), R_OK | X_OK) == -1) {
    return report;  // that much is wrong that no more can be seen
  }
  std::vector<Finding> findings;
  whileStill(store, [&] { findings = Diagnosis(store).examineAll(); });
  addFindings(findings, &report);
  return report;
}

// What is wrong after all steps is told too, though each might have left nothing.
Report repair(const ExceptionStore& store) {
  Report report;
  for (const Finding& finding : Diagnosis(store).examineDirectory()) {
    report.push_back(repairDirectory(store.directory(), finding));
  }
  StoreWriter writer(store.directory());
  Report steps = Repair(store, &writer, currentTime()).repairAll();
  report.insert(report.end(), steps.begin(), steps.end());
  addFindings(Diagnosis(store).examineAll(), &report);
  return report;
}

ExitStatus runDoctor(const DoctorOptions& options) {
  return withJsonErrors(options.json, [&options] {
    const ExceptionStore store(options.store.directory());
    if (!store.exists()) {
      if (!options.json) {
        print(fmt::format("there is no store {} yet\n", printableText(store.directory(), 300)));
      }
      return ExitStatus::trusted;
    }
    const Report report = options.repair ? repair(store) : examine(store);
    printReport(report, store, options.json);
    const bool solved = std::all_of(report.begin(), report.end(), isSolved);
    return solved ? ExitStatus::trusted : ExitStatus::notTrusted;
  });
}

}  // namespace

void addDoctorCommand(CLI::App* group, CommandAction* chosen) {
  CLI::App* command = addCommand(group, "doctor", "Look for what is wrong in a store", help);
  const auto options = std::make_shared<DoctorOptions>();
  addFlag(command, "--repair", &options->repair, "Put right what can be, without deleting");
  addFlag(command, "--json", &options->json, "One JSON object for each finding, for programs");
  addStoreOption(command, &options->store);
  onCall(command, chosen, [options] { return runDoctor(*options); });
}
