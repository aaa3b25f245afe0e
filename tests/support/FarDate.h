#ifndef TESTS_SUPPORT_FARDATE_H
#define TESTS_SUPPORT_FARDATE_H

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdint>
#include <string>

// 2045-06-01T00:00:00Z, which 32 bits do not hold.
inline constexpr std::int64_t kFarDate = 2379888000;

inline constexpr const char* kNoSuchDate = "this file system holds no such date";

// Dates a file, or a link and not what it leads to. False on failure, and where the file system
// cannot hold such a date.
inline bool setDate(const std::string& path, std::int64_t secondsSince1970) {
  const timespec date = {static_cast<time_t>(secondsSince1970), 0};
  const timespec dates[2] = {date, date};
  struct stat status = {};
  return utimensat(AT_FDCWD, path.c_str(), dates, AT_SYMLINK_NOFOLLOW) == 0 &&
         lstat(path.c_str(), &status) == 0 && status.st_mtim.tv_sec == date.tv_sec;
}

#endif
