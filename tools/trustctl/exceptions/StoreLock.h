#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_STORELOCK_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_STORELOCK_H

#include "tools/trustctl/FileDescriptor.h"
#include "tools/trustctl/exceptions/DirectoryEntries.h"

// The right to change a store, or to look at one that nobody changes, among the runs of this
// tool; the library takes no such lock. It ends with the object or the process. Its file,
// ".trustctl.lock", stays.
class StoreLock {
 public:
  enum class Kind {
    change,  // alone
    look     // beside others that look; nothing is made where nobody has changed the store yet
  };

  // Waits until no other run changes the store, and says so on a terminal when that takes long.
  // Throws CommandError (undecided) when the file cannot be had, and Interrupted.
  StoreLock(const DirectoryEntries& store, Kind kind);

  // Whether a run has changed the store all the same: the first one ever, which has begun since.
  bool cameTooEarly(const DirectoryEntries& store) const;

 private:
  FileDescriptor file_;
  bool hadNoFile_ = false;
};

#endif
