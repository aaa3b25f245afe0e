#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_RECORDJSON_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_RECORDJSON_H

#include <cstdint>
#include <optional>
#include <string>

#include "tools/trustctl/exceptions/ExceptionStore.h"
#include "tools/trustctl/exceptions/RecordText.h"

// What is told of a record in a list.
struct RecordSummary {
  std::string fileName;
  std::optional<std::string> domain;
  unsigned long long warnings = 0;
  LeafSummary leaf;
  std::int64_t written = 0;  // when the file was
  std::optional<std::int64_t> created;
  std::optional<std::int64_t> expires;
};
RecordSummary summarize(const ExceptionStore& store, const std::string& fileName,
                        const ExceptionRecord& record);

// The two forms for programs, one object on one line, ended; docs/exceptions.md has their
// members. `now` decides what is expired.
std::string summaryJson(const RecordSummary& row, std::int64_t now);
std::string recordJson(const ExceptionStore& store, const std::string& fileName,
                       const ExceptionRecord& record, std::int64_t now);

// The same for a decision that goes: what it was, and whether it was removed. `record` is null
// where it could not be read.
std::string removalJson(const std::string& fileName, const ExceptionRecord* record, bool removed);

#endif
