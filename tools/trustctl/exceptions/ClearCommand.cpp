#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/Progress.h"
#include "tools/trustctl/VerdictReport.h"
#include "tools/trustctl/exceptions/Confirmation.h"
#include "tools/trustctl/exceptions/ExceptionsCommands.h"
#include "tools/trustctl/exceptions/RecordJson.h"
#include "tools/trustctl/exceptions/RecordText.h"
#include "tools/trustctl/exceptions/Removals.h"
#include "tools/trustctl/exceptions/StoreOption.h"
#include "tools/trustctl/exceptions/StoreWriter.h"

namespace {

constexpr const char* help =
    "Removes every file that has a decision's name (cx_HASH_NUMBER.json), whether it can be read\n"
    "or not, and nothing else. At a terminal you are asked first.\n\n"
    "Examples:\n"
    "  trustctl exceptions clear\n"
    "  trustctl exceptions clear --yes --store /etc/fleet/exceptions\n\n"
    "Exit status: 0 removed (or nothing was there), 1 you said no, 2 wrong use, 3 it could not be\n"
    "done.\n";

struct ClearOptions {
  StoreOption store;
  Confirmation confirmation;
};

struct Contents {
  std::vector<std::string> records;  // those of one hash with the highest number first
  std::vector<std::string> others;   // files that the library might take for records all the same
};

bool isDirectory(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

Contents contentsOf(const ExceptionStore& store) {
  Contents contents;
  for (const std::string& name : store.fileNames()) {
    const bool isRecord = parseRecordName(name) && !isDirectory(store.pathOf(name));
    (isRecord ? contents.records : contents.others).push_back(name);
  }
  std::reverse(contents.records.begin(), contents.records.end());
  return contents;
}

std::string removalText(const ExceptionStore& store, const std::string& name, bool json) {
  try {
    const ExceptionRecord record = store.read(name);
    return json ? removalJson(name, &record, true) : "removed: " + recordLine(name, record) + "\n";
  } catch (const std::runtime_error&) {
    return json ? removalJson(name, nullptr, true)
                : fmt::format("removed: what could not be read ({})\n", printableText(name));
  }
}

void removeAll(const ExceptionStore& store, bool json) {
  StoreWriter writer(store.directory());
  const std::vector<std::string> names = contentsOf(store).records;
  Progress progress("removing", names.size());
  Removals removals(&writer);
  for (const std::string& name : names) {
    progress.advance();
    removals.remove(name, removalText(store, name, json));
  }
  removals.finish();
}

ExitStatus runClear(const ClearOptions& options) {
  options.confirmation.require();
  const ExceptionStore store(options.store.directory());
  const Contents contents = contentsOf(store);
  const std::string where = printableText(store.directory(), 300);
  const auto say = [&options](const std::string& text) {
    if (!options.confirmation.json) {
      print(text);
    }
  };
  if (contents.records.empty()) {
    say(fmt::format("no decisions in {}\n", where));
  } else if (options.confirmation.isGranted(
                 fmt::format("Remove all {} decisions in {}?", contents.records.size(), where))) {
    removeAll(store, options.confirmation.json);
  } else {
    print("Nothing was removed.\n");
    return ExitStatus::notTrusted;
  }
  for (const std::string& name : contents.others) {
    say(fmt::format("left alone: {} (not the name of a decision, or no file)\n",
                    printableText(name)));
  }
  return ExitStatus::trusted;
}

}  // namespace

void addClearCommand(CLI::App* group, CommandAction* chosen) {
  CLI::App* command = addCommand(group, "clear", "Remove all stored decisions", help);
  const auto options = std::make_shared<ClearOptions>();
  addConfirmation(command, &options->confirmation);
  addStoreOption(command, &options->store);
  onCall(command, chosen, [options] {
    return withJsonErrors(options->confirmation.json, [options] { return runClear(*options); });
  });
}
