#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_DIAGNOSIS_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_DIAGNOSIS_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "tools/trustctl/exceptions/ExceptionStore.h"
#include "tools/trustctl/exceptions/Finding.h"

// Looks for what is wrong in a store, group by group, since what is wrong with a file depends on
// the others of its hash. Changes nothing. Throws CommandError (undecided) when the directory
// cannot be read, and Interrupted. The store must outlive the object.
class Diagnosis {
 public:
  explicit Diagnosis(const ExceptionStore& store);

  // What is wrong with the directory itself.
  std::vector<Finding> examineDirectory() const;

  // The hashes that names of records bear, each once.
  std::vector<std::string> hashes() const;

  // The files that bear one hash: at most one finding a file.
  std::vector<Finding> examineHash(const std::string& hash) const;

  // The other files that the library could take for records, and what writers left behind.
  std::vector<Finding> examineOthers() const;

  // All of it, telling how far it is.
  std::vector<Finding> examineAll() const;

 private:
  Finding describeStray(const std::string& name) const;
  uid_t expectedOwner() const;

  const ExceptionStore& store_;
};

#endif
