#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_DOCUMENTINPUT_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_DOCUMENTINPUT_H

#include <optional>
#include <string>

#include "tools/trustctl/FileDescriptor.h"
#include "tools/trustctl/exceptions/UnnamedFile.h"

// A document that is read twice: a plain file or, for "-", a copy of standard input in a file
// without a name. Main thread only.
class DocumentInput {
 public:
  // Throws CommandError (wrongUse) when the file cannot be had or is no plain file, undecided when
  // no copy can be made, and Interrupted.
  explicit DocumentInput(const std::string& path);

  int fd() const { return copy_ ? copy_->fd() : file_.get(); }

  // Of the document in messages: its escaped path in quotes, or "standard input".
  const std::string& name() const { return name_; }

 private:
  std::string name_;
  std::optional<UnnamedFile> copy_;
  FileDescriptor file_;
};

#endif
