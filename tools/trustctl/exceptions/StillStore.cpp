#include "tools/trustctl/exceptions/StillStore.h"

#include <optional>
#include <utility>

#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/exceptions/StoreLock.h"

namespace {

std::optional<DirectoryEntries> openIfPossible(const std::string& directory) {
  try {
    return std::optional<DirectoryEntries>(std::in_place, directory, true);
  } catch (const CommandError&) {
    return {};
  }
}

}  // namespace

void whileStill(const ExceptionStore& store, const std::function<void()>& look) {
  const auto entries = openIfPossible(store.directory());
  if (!entries) {
    look();  // which says best what is wrong, if anything is
    return;
  }
  for (;;) {
    const StoreLock lock(*entries, StoreLock::Kind::look);
    try {
      look();
    } catch (const CommandError&) {
      if (!lock.cameTooEarly(*entries)) {
        throw;
      }
      continue;
    }
    if (!lock.cameTooEarly(*entries)) {
      return;
    }
  }
}
