#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "services/common/TimeText.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/Progress.h"
#include "tools/trustctl/VerdictReport.h"
#include "tools/trustctl/exceptions/Age.h"
#include "tools/trustctl/exceptions/ExceptionsCommands.h"
#include "tools/trustctl/exceptions/RecordJson.h"
#include "tools/trustctl/exceptions/RecordText.h"
#include "tools/trustctl/exceptions/Removals.h"
#include "tools/trustctl/exceptions/StillStore.h"
#include "tools/trustctl/exceptions/StoreOption.h"
#include "tools/trustctl/exceptions/StoreWriter.h"

namespace {

constexpr const char* help =
    "Removes decisions that are too old or whose \"expires\" has come; with both options, those\n"
    "that are either. AGE is a number and a unit: h hours, d days, w weeks, y years of 365 days.\n"
    "The age counts from \"created\" where that is noted, else from when the file was written.\n"
    "Never asks, as it is made for timers: trustctl-prune.timer runs it once a day where it is\n"
    "switched on.\n\n"
    "Examples:\n"
    "  trustctl exceptions prune --older-than 90d --dry-run\n"
    "  trustctl exceptions prune --older-than 1y\n"
    "  trustctl exceptions prune --expired\n"
    "  systemctl --user enable --now trustctl-prune.timer\n\n"
    "Exit status: 0 done, 2 wrong use, 3 it could not be done.\n";

struct PruneOptions {
  StoreOption store;
  std::optional<std::string> olderThan;
  bool expired = false;
  bool dryRun = false;
  bool json = false;
};

// What makes a decision one to remove.
struct Limits {
  std::int64_t now;
  std::optional<std::int64_t> age;  // in seconds
  bool expired;
};

Limits limitsOf(const PruneOptions& options) {
  if (!options.olderThan && !options.expired) {
    refuse("say what to remove: --older-than AGE, --expired or both");
  }
  Limits limits{currentTime(), {}, options.expired};
  if (options.olderThan) {
    limits.age = parseAge(*options.olderThan);
    if (!limits.age) {
      refuse(fmt::format("'{}' is no age; give a number and h, d, w or y, such as 90d",
                         printableText(*options.olderThan)));
    }
  }
  return limits;
}

bool isDue(const ExceptionRecord& record, std::int64_t written, const Limits& limits) {
  const bool old = limits.age && limits.now - record.created.value_or(written) > *limits.age;
  return old || (limits.expired && isExpired(record, limits.now));
}

// Those of one hash come with the highest number first: what then takes the place of one that
// is removed has been looked at before.
std::vector<std::string> recordNames(const ExceptionStore& store) {
  std::vector<std::string> names = store.fileNames();
  std::reverse(names.begin(), names.end());
  return names;
}

// Takes the name of one that is due, and the line that tells of it.
using DueTaker = std::function<void(const std::string& name, const std::string& line)>;

void findDue(const ExceptionStore& store, const Limits& limits, bool json, bool removed,
             const DueTaker& take) {
  const std::vector<std::string> names = recordNames(store);
  Progress progress("looking at", names.size());
  for (const std::string& name : names) {
    progress.advance();
    std::optional<ExceptionRecord> record;
    try {
      record = store.read(name);
    } catch (const std::runtime_error&) {
      continue;  // doctor's business
    }
    if (!isDue(*record, store.writtenAt(name), limits)) {
      continue;
    }
    take(name, json ? removalJson(name, &*record, removed)
                    : fmt::format("{}: {}\n", removed ? "removed" : "would remove",
                                  recordLine(name, *record)));
  }
}

// Returns how many were removed.
std::size_t prune(const ExceptionStore& store, const Limits& limits, bool json) {
  if (store.fileNames().empty()) {
    return 0;
  }
  StoreWriter writer(store.directory());
  Removals removals(&writer);
  std::size_t count = 0;
  findDue(store, limits, json, true, [&](const std::string& name, const std::string& line) {
    removals.remove(name, line);
    ++count;
  });
  removals.finish();
  return count;
}

// Returns how many would be removed.
std::size_t tellDue(const ExceptionStore& store, const Limits& limits, bool json) {
  std::vector<std::string> lines;
  whileStill(store, [&] {
    lines.clear();
    findDue(store, limits, json, false,
            [&](const std::string&, const std::string& line) { lines.push_back(line); });
  });
  for (const std::string& line : lines) {
    print(line);
  }
  return lines.size();
}

ExitStatus runPrune(const PruneOptions& options) {
  const Limits limits = limitsOf(options);
  const ExceptionStore store(options.store.directory());
  const std::size_t count =
      options.dryRun ? tellDue(store, limits, options.json) : prune(store, limits, options.json);
  if (count == 0 && !options.json) {
    print(fmt::format("nothing to remove in {}\n", printableText(store.directory(), 300)));
  }
  return ExitStatus::trusted;
}

}  // namespace

void addPruneCommand(CLI::App* group, CommandAction* chosen) {
  CLI::App* command = addCommand(group, "prune", "Remove decisions that are old or expired", help);
  const auto options = std::make_shared<PruneOptions>();
  addOption(command, "--older-than", &options->olderThan, "Those of more than that age", "AGE")
      .notEmpty();
  addFlag(command, "--expired", &options->expired, "Those whose \"expires\" has come");
  addFlag(command, "-n,--dry-run", &options->dryRun, "Only say what would be removed");
  addFlag(command, "--json", &options->json, "One JSON object a line, for programs");
  addStoreOption(command, &options->store);
  onCall(command, chosen, [options] {
    return withJsonErrors(options->json, [options] { return runPrune(*options); });
  });
}
