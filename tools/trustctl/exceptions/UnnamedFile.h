#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_UNNAMEDFILE_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_UNNAMEDFILE_H

#include <functional>
#include <string>
#include <string_view>

#include "tools/trustctl/FileDescriptor.h"

// Room on disk for what may be too large for memory. It has no name, so it is gone with the
// object however the run ends. Operations throw CommandError (undecided) and Interrupted.
class UnnamedFile {
 public:
  // Messages call what it holds `content`, and advise to do `instead` where there is no room.
  UnnamedFile(std::string content, std::string instead);

  int fd() const { return file_.get(); }

  void write(std::string_view bytes);

  // Hands over all of it from its beginning, piece by piece.
  void readAll(const std::function<void(const std::string&)>& take) const;

 private:
  [[noreturn]] void fail(int error) const;

  std::string content_;
  std::string instead_;
  FileDescriptor file_;
};

#endif
