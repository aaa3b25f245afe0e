#include "tools/trustctl/exceptions/NewFile.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>

#include <fmt/format.h>

#include "services/common/FileSystem.h"
#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/Interruption.h"
#include "tools/trustctl/WriteAll.h"

namespace {

constexpr std::size_t flushBytes = std::size_t{256} * 1024;

[[noreturn]] void refuseTaken(const std::string& path) {
  throw CommandError(ExitStatus::wrongUse,
                     fmt::format("'{}' is there already and is not written over; give another "
                                 "name, or remove it",
                                 printableText(path)));
}

std::string directoryOf(const std::string& path) {
  const auto directory = std::filesystem::absolute(path).parent_path();
  if (!isDirectory(directory)) {
    throw CommandError(ExitStatus::wrongUse,
                       fmt::format("there is no directory '{}' to put the file in; make it, or "
                                   "give another name",
                                   printableText(directory.string())));
  }
  return directory.string();
}

std::string nameIn(const std::string& path) {
  std::string name = std::filesystem::path(path).filename().string();
  if (name.empty() || name == "." || name == "..") {
    throw CommandError(ExitStatus::wrongUse,
                       fmt::format("'{}' is no name for a file; give one", printableText(path)));
  }
  return name;
}

}  // namespace

NewFile::NewFile(const std::string& path)
    : name_(nameIn(path)), directory_(directoryOf(path), true) {
  if (directory_.has(name_)) {
    refuseTaken(directory_.pathOf(name_));
  }
  constexpr mode_t mode = 0644;
  // A run that was killed may have left one, and this process may have that one's number.
  for (int number = 0; file_.get() == -1; ++number) {
    temporaryName_ = fmt::format(".{}.{}.new", name_, std::int64_t{getpid()} + number);
    file_.reset(openat(directory_.fd(), temporaryName_.c_str(),
                       O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
    if (file_.get() == -1 && errno != EEXIST) {
      directory_.fail("make", temporaryName_, errno);
    }
  }
}

NewFile::~NewFile() {
  if (file_.get() != -1) {
    unlinkat(directory_.fd(), temporaryName_.c_str(), 0);
  }
}

void NewFile::write(const std::string& bytes) {
  buffer_ += bytes;
  if (buffer_.size() >= flushBytes) {
    flush();
  }
}

void NewFile::flush() {
  const int error = writeAll(file_.get(), buffer_);
  if (error != 0) {
    directory_.fail("write", temporaryName_, error);
  }
  buffer_.clear();
}

void NewFile::finish() {
  flush();
  if (fsync(file_.get()) != 0) {
    directory_.fail("write", temporaryName_, errno);
  }
  const InterruptionBlocker whole;
  if (!directory_.moveIfFree(temporaryName_, directory_, name_)) {
    refuseTaken(directory_.pathOf(name_));
  }
  file_.reset();
  directory_.sync();
}
