#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "tools/trustctl/Options.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/VerdictReport.h"
#include "tools/trustctl/exceptions/Confirmation.h"
#include "tools/trustctl/exceptions/DecisionRemoval.h"
#include "tools/trustctl/exceptions/ExceptionsCommands.h"
#include "tools/trustctl/exceptions/RecordId.h"
#include "tools/trustctl/exceptions/RecordJson.h"
#include "tools/trustctl/exceptions/RecordText.h"
#include "tools/trustctl/exceptions/StoreOption.h"

namespace {

constexpr const char* help =
    "ID is the start of the hash in the file's name (four digits or more), the file's name, or\n"
    "the domain where only one decision is stored for it. At a terminal you are asked first.\n\n"
    "Examples:\n"
    "  trustctl exceptions remove example.org\n"
    "  trustctl exceptions remove --yes 1f3a 77c0\n\n"
    "Exit status: 0 removed, 1 you said no, 2 wrong use or no such decision, 3 it could not be\n"
    "done.\n";

struct RemoveOptions {
  StoreOption store;
  Confirmation confirmation;
  std::vector<std::string> ids;
};

bool isConfirmed(const RemoveOptions& options, const std::vector<StoredRecord>& records) {
  if (options.confirmation.given) {
    return true;
  }
  print("To be removed:\n");
  for (const StoredRecord& stored : records) {
    print("  " + recordLine(stored.fileName, stored.record) + "\n");
  }
  return options.confirmation.isGranted(
      records.size() == 1 ? "Remove this decision?"
                          : fmt::format("Remove these {} decisions?", records.size()));
}

std::string removalText(const StoredRecord& stored, bool removed, bool json) {
  return json ? removalJson(stored.fileName, &stored.record, removed)
              : fmt::format("{}: {}\n", removed ? "removed" : "gone already",
                            recordLine(stored.fileName, stored.record));
}

ExitStatus runRemove(const RemoveOptions& options) {
  options.confirmation.require();
  const ExceptionStore store(options.store.directory());
  const std::vector<StoredRecord> records = findRecords(store, options.ids);
  if (!isConfirmed(options, records)) {
    print("Nothing was removed.\n");
    return ExitStatus::notTrusted;
  }
  StoreWriter writer(store.directory());
  for (const StoredRecord& stored : records) {
    const bool removed = removeDecision(&writer, store, stored);
    print(removalText(stored, removed, options.confirmation.json));
  }
  return ExitStatus::trusted;
}

}  // namespace

void addRemoveCommand(CLI::App* group, CommandAction* chosen) {
  CLI::App* command = addCommand(group, "remove", "Remove stored decisions", help);
  const auto options = std::make_shared<RemoveOptions>();
  addOption(command, "ID", &options->ids, "Which decisions; see below").required();
  addConfirmation(command, &options->confirmation);
  addStoreOption(command, &options->store);
  onCall(command, chosen, [options] {
    return withJsonErrors(options->confirmation.json, [options] { return runRemove(*options); });
  });
}
