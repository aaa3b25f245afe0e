#include <algorithm>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "services/common/LowerCase.h"
#include "services/common/PrintableText.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/Progress.h"
#include "tools/trustctl/exceptions/DocumentWriter.h"
#include "tools/trustctl/exceptions/DomainPattern.h"
#include "tools/trustctl/exceptions/ExceptionStore.h"
#include "tools/trustctl/exceptions/ExceptionsCommands.h"
#include "tools/trustctl/exceptions/NewFile.h"
#include "tools/trustctl/exceptions/StillStore.h"
#include "tools/trustctl/exceptions/StoreOption.h"
#include "tools/trustctl/exceptions/UnnamedFile.h"

namespace {

constexpr const char* help =
    "Writes one JSON document, one decision a line, sorted by domain; exceptions import reads it.\n"
    "FILE must not be there yet and appears when it is whole; - is standard output. PATTERN is as\n"
    "for a shell: *.example. A record that cannot be read is told, and the others are written.\n\n"
    "Examples:\n"
    "  trustctl exceptions export decisions.json\n"
    "  trustctl exceptions export --domain '*.example' -\n"
    "  trustctl exceptions export - | ssh other trustctl exceptions import -\n\n"
    "Exit status: 0 done, 2 wrong use, 3 a record or the store could not be read, or the document\n"
    "not be written.\n";

struct ExportOptions {
  std::optional<std::string> pattern;
  std::string file;
  StoreOption store;
};

// What a record is sorted by; the records themselves are read a second time.
struct Entry {
  std::string lowerDomain;
  std::string domain;
  unsigned long long warnings;
  std::string fileName;
};

bool comesBefore(const Entry& left, const Entry& right) {
  return std::tie(left.lowerDomain, left.domain, left.warnings, left.fileName) <
         std::tie(right.lowerDomain, right.domain, right.warnings, right.fileName);
}

// Records that cannot be exported: each is told, and all are counted.
class Failures {
 public:
  void tell(const std::string& fileName, const std::string& reason) {
    ++count_;
    printComplaint(
        fmt::format("'{}' is left out: {}", printableText(fileName), printableText(reason, 300)));
  }
  void throwIfAny() const {
    if (count_ > 0) {
      throw CommandError(ExitStatus::undecided,
                         fmt::format("{} record{} could not be exported, all others were; see what "
                                     "is wrong with: trustctl exceptions doctor",
                                     count_, count_ == 1 ? "" : "s"));
    }
  }

 private:
  std::size_t count_ = 0;
};

std::vector<Entry> sortedEntries(const ExceptionStore& store, const ExportOptions& options,
                                 Failures* failures) {
  const std::optional<DomainPattern> pattern =
      options.pattern ? std::optional<DomainPattern>(*options.pattern) : std::nullopt;
  const std::vector<std::string> names = store.fileNames();
  std::vector<Entry> entries;
  Progress progress("reading", names.size());
  for (const std::string& name : names) {
    progress.advance();
    try {
      const ExceptionRecord record = store.read(name);
      if (!pattern || pattern->matches(record.domain)) {
        const std::string domain = record.domain.value_or("");
        entries.push_back({lowerCase(domain), domain, record.warnings, name});
      }
    } catch (const CommandError&) {
      throw;
    } catch (const std::runtime_error& error) {
      if (store.has(name)) {
        failures->tell(name, error.what());
      }
    }
  }
  std::sort(entries.begin(), entries.end(), comesBefore);
  return entries;
}

// Returns how many decisions it wrote.
template <class File>
std::size_t writeDocument(const ExceptionStore& store, const ExportOptions& options, File* file,
                          Failures* failures) {
  *failures = {};
  const std::vector<Entry> entries = sortedEntries(store, options, failures);
  file->write(documentStart);
  std::size_t written = 0;
  Progress progress("writing", entries.size());
  for (const Entry& entry : entries) {
    progress.advance();
    try {
      file->write(documentLine(store.read(entry.fileName), written == 0));
      ++written;
    } catch (const CommandError&) {
      throw;
    } catch (const std::runtime_error& error) {
      if (store.has(entry.fileName)) {
        failures->tell(entry.fileName, error.what());
      }
    }
  }
  file->write(documentEnd);
  return written;
}

// Standard output may be a pipe that nobody reads for hours: the document is on disk before a
// byte of it goes there, so that no other run has to wait for that.
void exportToOutput(const ExceptionStore& store, const ExportOptions& options, Failures* failures) {
  std::optional<UnnamedFile> document;
  whileStill(store, [&] {
    document.emplace("the document", "export to a file");
    writeDocument(store, options, &*document, failures);
  });
  document->readAll([](const std::string& bytes) { print(bytes); });
}

void exportToFile(const ExceptionStore& store, const ExportOptions& options, Failures* failures) {
  std::optional<NewFile> document;
  std::size_t written = 0;
  whileStill(store, [&] {
    document.reset();
    document.emplace(options.file);
    written = writeDocument(store, options, &*document, failures);
  });
  document->finish();
  print(fmt::format("{} decision{} exported to '{}'.\n", written, written == 1 ? "" : "s",
                    printableText(options.file)));
}

ExitStatus runExport(const ExportOptions& options) {
  const ExceptionStore store(options.store.directory());
  Failures failures;
  if (options.file == "-") {
    exportToOutput(store, options, &failures);
  } else {
    exportToFile(store, options, &failures);
  }
  failures.throwIfAny();
  return ExitStatus::trusted;
}

}  // namespace

void addExportCommand(CLI::App* group, CommandAction* chosen) {
  CLI::App* command = addCommand(group, "export", "Write decisions into one JSON document", help);
  const auto options = std::make_shared<ExportOptions>();
  addOption(command, "--domain", &options->pattern, "Only those of such domains", "PATTERN")
      .notEmpty();
  addStoreOption(command, &options->store);
  addOption(command, "FILE", &options->file, "A new file; - for stdout").required().notEmpty();
  onCall(command, chosen, [options] { return runExport(*options); });
}
