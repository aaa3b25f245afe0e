#ifndef TOOLS_TRUSTCTL_FILEDESCRIPTOR_H
#define TOOLS_TRUSTCTL_FILEDESCRIPTOR_H

#include <unistd.h>

// Owns a descriptor; -1 when empty.
class FileDescriptor {
 public:
  explicit FileDescriptor(int fd = -1) : fd_(fd) {}
  ~FileDescriptor() { reset(); }

  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  int get() const { return fd_; }

  // Closes what is owned and owns `fd` instead.
  void reset(int fd = -1) {
    if (fd_ != -1) {
      close(fd_);
    }
    fd_ = fd;
  }

 private:
  int fd_;
};

#endif
