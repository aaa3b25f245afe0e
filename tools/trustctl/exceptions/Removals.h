#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_REMOVALS_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_REMOVALS_H

#include <string>

#include "tools/trustctl/exceptions/StoreWriter.h"

// Removes many files and says so of each. To make every single one last would take minutes for a
// large store, so some are made to last together, and only then said to be removed.
class Removals {
 public:
  // The writer must outlive the object.
  explicit Removals(StoreWriter* writer) : writer_(writer) {}
  // Finishes where an exception has not let it come to that.
  ~Removals();

  Removals(const Removals&) = delete;
  Removals& operator=(const Removals&) = delete;

  // Removes the file; `line` is printed when that lasts. Throws as StoreWriter::remove does.
  void remove(const std::string& fileName, const std::string& line);

  // Makes all of them last and prints what is left to be printed. Throws CommandError (undecided).
  void finish();

 private:
  StoreWriter* writer_;
  std::string lines_;
  int count_ = 0;
};

#endif
