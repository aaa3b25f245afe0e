#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "services/common/TextWriter.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/Progress.h"
#include "tools/trustctl/VerdictReport.h"
#include "tools/trustctl/exceptions/DocumentReader.h"
#include "tools/trustctl/exceptions/ExceptionsCommands.h"
#include "tools/trustctl/exceptions/RecordText.h"
#include "tools/trustctl/exceptions/StillStore.h"
#include "tools/trustctl/exceptions/StoreOption.h"
#include "tools/trustctl/exceptions/StoreWriter.h"
#include "tools/trustctl/exceptions/StoredDecision.h"
#include "tools/trustctl/exceptions/WarningList.h"

namespace {

constexpr const char* help =
    "Stores the decisions of a document that exceptions export wrote; - is standard input. The\n"
    "whole document is checked before the first one is stored: every fingerprint, every\n"
    "certificate's base64, every time, and that the warnings' names and their number agree.\n\n"
    "Nothing in the store is changed. A decision that is there already is counted; where the\n"
    "document notes another expiry or reason for it, that is a conflict: it is told, and what is\n"
    "stored stays. An import that was cut short goes on where it was when it is run again.\n\n"
    "Examples:\n"
    "  trustctl exceptions import --dry-run decisions.json\n"
    "  trustctl exceptions import decisions.json\n"
    "  ssh other trustctl exceptions export - | trustctl exceptions import -\n\n"
    "Exit status: 0 done, 1 done but for conflicts, 2 wrong use or unusable document, 3 the store\n"
    "cannot be read or written.\n";

struct ImportOptions {
  std::string file;
  bool dryRun = false;
  bool evenRevoked = false;
  bool json = false;
  StoreOption store;
};

// What became, or would become, of the decisions.
struct Tally {
  std::size_t stored = 0;
  std::size_t alreadyThere = 0;
  std::size_t conflicts = 0;
};

void tellConflict(std::size_t number, const StoredRecord& stored, const char* what) {
  printComplaint(fmt::format("conflict: decision {}, {}: it is stored with another {}, which stays",
                             number, recordLine(stored.fileName, stored.record), what));
}

// Which note of the stored decision the document contradicts; null for none. One that the
// document does not have contradicts nothing.
const char* contradiction(const ExceptionRecord& record, const ExceptionRecord& stored) {
  const bool expiry = record.expires && record.expires != stored.expires;
  const bool reason = record.reason && record.reason != stored.reason;
  return expiry && reason ? "expiry and reason" : expiry ? "expiry" : reason ? "reason" : nullptr;
}

// One pass over the document that changes the store, or only tells what it would change.
class Import {
 public:
  Import(const ImportOptions& options, std::size_t total)
      : store_(options.store.directory()),
        isDry_(options.dryRun),
        isQuiet_(options.json),
        progress_(options.dryRun ? "comparing" : "storing", total) {
    if (!isDry_) {
      writer_.emplace(store_.directory());
    }
  }

  void take(std::size_t number, const ExceptionRecord& record) {
    progress_.advance();
    const auto stored = findStored(store_, record);
    if (stored) {
      countStored(number, record, *stored);
    } else if (isDry_) {
      announce(record);
    } else if (writer_->add(record) == StoreWriter::Added::stored) {
      ++tally_.stored;
    } else {
      ++tally_.alreadyThere;  // a program with the library was faster
    }
  }

  const Tally& tally() const { return tally_; }

  // What a dry run has to say; nothing where nobody is to read it.
  const std::string& announcements() const { return announcements_; }

 private:
  void countStored(std::size_t number, const ExceptionRecord& record, const StoredRecord& stored) {
    const char* what = contradiction(record, stored.record);
    if (what == nullptr) {
      ++tally_.alreadyThere;
    } else {
      ++tally_.conflicts;
      tellConflict(number, stored, what);
    }
  }

  // A document may hold a decision twice.
  void announce(const ExceptionRecord& record) {
    ExceptionRecord bare = record;
    bare.created = bare.expires = std::nullopt;
    bare.reason.reset();
    const std::string bytes = writeRecord(bare);
    if (!announced_.insert(sha256Of(CertificateDer(bytes.begin(), bytes.end()))).second) {
      ++tally_.alreadyThere;
      return;
    }
    ++tally_.stored;
    if (!isQuiet_) {
      announcements_ += fmt::format("would store {}, in spite of {}\n", domainWords(record.domain),
                                    warningWords(record.warnings));
    }
  }

  ExceptionStore store_;
  bool isDry_;
  bool isQuiet_;
  std::optional<StoreWriter> writer_;
  Progress progress_;
  std::set<std::string> announced_;
  std::string announcements_;
  Tally tally_;
};

// Reads all of it, decisions that must not be stored among it for an error.
void readChecked(const ImportOptions& options, const DocumentInput& input,
                 const RecordTaker& take) {
  readDocument(input, [&](std::size_t number, const ExceptionRecord& record) {
    refuseRevoked(record.warnings, options.evenRevoked,
                  fmt::format("{}: decision {}", input.name(), number));
    take(number, record);
  });
}

std::string tallyText(const Tally& tally, bool isDry) {
  return fmt::format("{} {}stored, {} {} already, {} conflict{}.\n", tally.stored,
                     isDry ? "would be " : "", tally.alreadyThere,
                     tally.alreadyThere == 1 ? "was there" : "were there", tally.conflicts,
                     tally.conflicts == 1 ? "" : "s");
}

std::string tallyJson(const Tally& tally, bool isDry) {
  TextWriter object(TextWriter::Form::json);
  object.add("dry_run", isDry);
  object.add("stored", static_cast<int>(tally.stored));
  object.add("already_there", static_cast<int>(tally.alreadyThere));
  object.add("conflicts", static_cast<int>(tally.conflicts));
  return object.text() + "\n";
}

ExitStatus runImport(const ImportOptions& options) {
  const DocumentInput input(options.file);
  std::size_t total = 0;
  readChecked(options, input,
              [&total](std::size_t number, const ExceptionRecord&) { total = number; });
  Tally tally;
  std::string announcements;
  std::size_t current = 0;
  const auto takeAll = [&] {
    Import import(options, total);
    readChecked(options, input, [&](std::size_t number, const ExceptionRecord& record) {
      current = number;
      import.take(number, record);
    });
    tally = import.tally();
    announcements = import.announcements();
  };
  try {
    if (options.dryRun) {
      whileStill(ExceptionStore(options.store.directory()), takeAll);
    } else {
      takeAll();
    }
  } catch (const CommandError& error) {
    throw CommandError(error.status(), current == 0
                                           ? std::string(error.what())
                                           : fmt::format("{}: decision {} of {}: {}", input.name(),
                                                         current, total, error.what()));
  }
  print(announcements);
  print(options.json ? tallyJson(tally, options.dryRun) : tallyText(tally, options.dryRun));
  return tally.conflicts == 0 ? ExitStatus::trusted : ExitStatus::notTrusted;
}

}  // namespace

void addImportCommand(CLI::App* group, CommandAction* chosen) {
  CLI::App* command = addCommand(group, "import", "Store the decisions of a JSON document", help);
  const auto options = std::make_shared<ImportOptions>();
  addFlag(command, "--dry-run", &options->dryRun, "Only tell what would be stored");
  addFlag(command, "--even-revoked", &options->evenRevoked, "Allow decisions that accept REVOKED");
  addStoreOption(command, &options->store);
  addFlag(command, "--json", &options->json, "One JSON object on one line, for programs");
  addOption(command, "FILE", &options->file, "The document; - for stdin").required().notEmpty();
  onCall(command, chosen, [options] {
    return withJsonErrors(options->json, [options] { return runImport(*options); });
  });
}
