#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_REPAIR_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_REPAIR_H

#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tools/trustctl/exceptions/Diagnosis.h"
#include "tools/trustctl/exceptions/StoreWriter.h"

// A finding and what came of it.
struct RepairStep {
  Finding finding;
  bool repaired = false;
  std::string text;  // what was done, or why nothing could be; escaped
};

// Gives the owner of a store that is his what he needs, and takes writing from all others. For
// the directory, which must be usable before a writer is.
RepairStep repairDirectory(const std::string& directory, const Finding& finding);

// Puts a store right without deleting anything: what does not belong there is set aside, and
// decisions get the names under which the library finds them. Each step by itself leaves the
// store no worse; the rest can be done by another run. The arguments must outlive the object.
class Repair {
 public:
  // `now` tells which leftovers are old enough to be nobody's.
  Repair(const ExceptionStore& store, StoreWriter* writer, std::int64_t now);

  // Does all that can be done, and tells it in the order in which it was done. Throws
  // Interrupted, and CommandError only when the directory cannot be read.
  std::vector<RepairStep> repairAll();

 private:
  enum class Pass { setAsideAndClose, rename };

  void repairHash(const std::string& hash, Pass pass);
  void repairOthers();
  bool isToDo(const Finding& finding, Pass pass) const;
  void attempt(const Finding& finding);
  std::string repair(const Finding& finding);
  std::string setAside(const std::string& entry);
  std::string rename(const std::string& entry);
  std::string restrictMode(const std::string& entry) const;

  const ExceptionStore& store_;
  StoreWriter* writer_;
  std::int64_t now_;
  Diagnosis diagnosis_;
  std::vector<RepairStep> steps_;
  std::set<std::pair<std::string, Problem>> hopeless_;
};

#endif
