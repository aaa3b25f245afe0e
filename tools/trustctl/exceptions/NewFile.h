#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_NEWFILE_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_NEWFILE_H

#include <string>

#include "tools/trustctl/FileDescriptor.h"
#include "tools/trustctl/exceptions/DirectoryEntries.h"

// A file that appears whole or not at all, and never in place of another: written under another
// name (ending in ".new") beside it, made durable, and renamed. Operations throw CommandError.
class NewFile {
 public:
  // Throws (wrongUse) when something stands at the path already.
  explicit NewFile(const std::string& path);
  // Without finish(), what was written is gone.
  ~NewFile();

  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  void write(const std::string& bytes);

  // Makes it last and gives it its name.
  void finish();

 private:
  void flush();

  std::string name_;
  std::string temporaryName_;
  DirectoryEntries directory_;
  FileDescriptor file_;
  std::string buffer_;
};

#endif
