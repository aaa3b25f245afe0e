#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_DIRECTORYENTRIES_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_DIRECTORYENTRIES_H

#include <sys/stat.h>

#include <optional>
#include <string>

#include "tools/trustctl/FileDescriptor.h"

// Whether both are of one file, perhaps under two names.
bool isSameFile(const struct stat& left, const struct stat& right);

// The entries of one directory that is kept open, so that nobody can put another in its place.
// No step follows a symbolic link. Names have no "/" in them. Failures are CommandErrors
// (undecided) that name the entry and the reason.
class DirectoryEntries {
 public:
  // Opens the directory. A symbolic link is followed only where `followLink` says so.
  DirectoryEntries(const std::string& path, bool followLink);

  const std::string& path() const { return path_; }
  std::string pathOf(const std::string& name) const { return path_ + "/" + name; }
  int fd() const { return fd_.get(); }

  // What stands there; nothing when there is nothing.
  std::optional<struct stat> find(const std::string& name) const;
  bool has(const std::string& name) const { return find(name).has_value(); }

  // Gives what is called `substitute` the name `gone`; what had that is gone in the same instant.
  // Two names of one file become one.
  void putInPlaceOf(const std::string& gone, const std::string& substitute) const;

  // The same into another directory or the same one, where nothing has that name yet; false when
  // something has. One instant where the file system can; else it has both names for a moment.
  bool moveIfFree(const std::string& from, const DirectoryEntries& to,
                  const std::string& name) const;

  // Gives it a further name in another directory of the same file system. EEXIST, or why that
  // cannot be; 0 when it was done.
  int link(const std::string& from, const DirectoryEntries& to, const std::string& name) const;

  void unlink(const std::string& name) const;

  // Makes the names last a power failure, as far as the file system can.
  void sync() const;

  // Gives what root has just made in the directory to the directory's owner, who will need it.
  void giveToOwner(int made) const;

  // Throws what the operations throw: "cannot WHAT 'PATH': REASON; NEXT STEP".
  [[noreturn]] void fail(const char* what, const std::string& name, int error) const;

 private:
  int moveInTwoSteps(const std::string& from, const DirectoryEntries& to,
                     const std::string& name) const;

  std::string path_;
  FileDescriptor fd_;
};

#endif
