#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_EXCEPTIONSTORE_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_EXCEPTIONSTORE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tools/trustctl/exceptions/ExceptionRecord.h"

// A file that is larger is taken for no record: chains have some kilobytes.
constexpr std::size_t maxRecordBytes = std::size_t{16} * 1024 * 1024;

// A store as it lies there, for reading. Makes nothing and locks nothing: files may come and go
// meanwhile, but for what whileStill() calls. Main thread only.
class ExceptionStore {
 public:
  // An absolute path; nothing need be there.
  explicit ExceptionStore(std::string directory);

  const std::string& directory() const { return directory_; }
  std::string pathOf(const std::string& fileName) const { return directory_ + "/" + fileName; }

  // False where nothing is there. Throws CommandError (undecided) where that cannot be told, and
  // where it is something else than a directory, or a link that leads nowhere.
  bool exists() const;

  // The names of the entries that the library could take for records (*.json), sorted; none where
  // the directory is not there. Throws CommandError (undecided) when it cannot be read.
  // Other endings give the entries that have them.
  std::vector<std::string> fileNames(std::string_view ending = ".json") const;

  // Reads one as the library would, symbolic links included, but never waits for a pipe or
  // device. Throws std::runtime_error that says why it cannot be had, and Interrupted.
  ExceptionRecord read(const std::string& fileName) const;

  // Whether anything has the name; what others remove meanwhile has none any more.
  bool has(const std::string& fileName) const;

  // When the file was last written, in seconds since 1970; 0 when it is not there.
  std::int64_t writtenAt(const std::string& fileName) const;

 private:
  std::string directory_;
};

#endif
