#ifndef TESTS_SUPPORT_TEMPORARYDIRECTORY_H
#define TESTS_SUPPORT_TEMPORARYDIRECTORY_H

#include <string>
#include <string_view>

// A fresh directory of mode 0700 under TMPDIR (or /tmp), removed with all that
// is in it when the object goes.
class TemporaryDirectory {
 public:
  // Throws std::system_error when no directory can be made.
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::string& path() const { return path_; }

  // The path of `name` inside; nothing is made.
  std::string path(std::string_view name) const;

  // Writes `content` into the file `name`, making missing directories, and
  // returns its path. Throws std::runtime_error on failure.
  std::string write(std::string_view name, std::string_view content) const;

 private:
  std::string path_;
};

#endif
