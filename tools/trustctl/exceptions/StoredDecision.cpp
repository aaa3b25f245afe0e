#include "tools/trustctl/exceptions/StoredDecision.h"

#include <stdexcept>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/exceptions/RecordName.h"

namespace {

ExceptionRecord readOnTheWay(const ExceptionStore& store, const std::string& fileName) {
  try {
    return store.read(fileName);
  } catch (const std::runtime_error& error) {
    throw CommandError(
        ExitStatus::undecided,
        fmt::format("'{}' cannot be read: {}; mend the store with: trustctl exceptions doctor "
                    "--repair",
                    printableText(store.pathOf(fileName), 300), printableText(error.what(), 300)));
  }
}

}  // namespace

std::optional<StoredRecord> findStored(const ExceptionStore& store, const ExceptionRecord& record) {
  RecordName name{hashOf(record), 0};
  for (; name.number < numbersPerHash; ++name.number) {
    const std::string fileName = fileNameOf(name);
    if (!store.has(fileName)) {
      break;
    }
    ExceptionRecord stored = readOnTheWay(store, fileName);
    if (isSameDecision(stored, record)) {
      return StoredRecord{fileName, std::move(stored)};
    }
  }
  return std::nullopt;
}
