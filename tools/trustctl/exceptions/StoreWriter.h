#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_STOREWRITER_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_STOREWRITER_H

#include <string>

#include "tools/trustctl/exceptions/DirectoryEntries.h"
#include "tools/trustctl/exceptions/ExceptionRecord.h"
#include "tools/trustctl/exceptions/ExceptionStore.h"
#include "tools/trustctl/exceptions/RecordName.h"
#include "tools/trustctl/exceptions/StoreLock.h"

// The right to change a store, held as long as the object lives. Other runs of this tool wait for
// it; programs with the library do not, and may add records at any moment.
//
// The library finds a record only where all lower numbers of its hash are taken. So every change
// is one that leaves no gap: the last record of a hash takes the place of one that goes, in one
// step. Killed at any moment, nothing is lost, and every record is in sight; only where a library
// added one of the very same hash meanwhile may it stand beyond a gap or twice, which
// `exceptions doctor` mends. What has been changed when an operation returns lasts, but where
// it says otherwise.
//
// Operations throw CommandError (undecided) that says what failed and what to do. Main thread only.
class StoreWriter {
 public:
  // Makes the directory (an absolute path) where missing, as the library does, and waits for the
  // right. Throws Interrupted, too.
  explicit StoreWriter(const std::string& directory);

  enum class Added { stored, alreadyThere };

  // Stores the record where the library would. The notes of one that is there already stay as
  // they are. Also throws when ten others of that hash, or a file that cannot be read, are in
  // the way.
  Added add(const ExceptionRecord& record);

  // Removes the file, be it a record or not. What its number holds afterwards may be another
  // record: names are to be looked up again. Refuses directories.
  void remove(const std::string& fileName);

  // The same, but it lasts only after makeLasting(): for many in a row.
  void removeSoon(const std::string& fileName);
  void makeLasting() const { entries_.sync(); }

  // Moves the entry into the store's directory "set-aside", never over something there, and
  // returns its path in the store.
  std::string setAside(const std::string& fileName);

  // Brings the records of a hash that stand beyond a gap down into it. Returns how many moved.
  int closeGaps(const std::string& hash);

 private:
  bool has(const RecordName& name) const;
  int lastOfRun(const RecordName& first) const;
  void takeOut(const std::string& fileName);
  void fillGap(const std::string& fileName);
  void followUp(RecordName gap) const;
  std::string linkAside(const std::string& fileName, const DirectoryEntries& aside) const;
  std::string moveAside(const std::string& fileName, const DirectoryEntries& aside);

  DirectoryEntries entries_;
  StoreLock lock_;
  ExceptionStore store_;
};

#endif
