#include "tools/trustctl/exceptions/DecisionRemoval.h"

#include <stdexcept>

namespace {

bool isAt(const ExceptionStore& store, const std::string& fileName,
          const ExceptionRecord& decision) {
  try {
    return isSameDecision(store.read(fileName), decision);
  } catch (const std::runtime_error&) {
    return false;  // gone, or broken: that is not what was meant
  }
}

}  // namespace

bool removeDecision(StoreWriter* writer, const ExceptionStore& store,
                    const StoredRecord& decision) {
  const auto name = parseRecordName(decision.fileName);
  if (!name) {
    const bool found = isAt(store, decision.fileName, decision.record);
    if (found) {
      writer->remove(decision.fileName);
    }
    return found;
  }
  bool found = false;
  for (RecordName next{name->hash, 0}; next.number < numbersPerHash;) {
    if (isAt(store, fileNameOf(next), decision.record)) {
      writer->remove(fileNameOf(next));  // another may stand there now
      found = true;
    } else {
      ++next.number;
    }
  }
  return found;
}
