#include "tools/trustctl/exceptions/EntryCheck.h"

#include <fmt/format.h>

namespace {

constexpr mode_t othersWrite = S_IWGRP | S_IWOTH;

bool isForeign(const struct stat& status, uid_t expected) {
  return status.st_uid != expected && status.st_uid != 0;
}

std::string modeText(const struct stat& status) {
  return fmt::format("{:04o}", status.st_mode & 07777U);
}

// The library opens whatever has the name.
const char* whatLinksDo(mode_t mode) {
  if (S_ISLNK(mode)) {
    return "is a symbolic link: the library follows it, and whoever changes what it leads to "
           "changes the decision, or breaks every check of its hash";
  }
  if (S_ISFIFO(mode)) {
    return "is a pipe: every check that meets its hash waits for a writer, perhaps for ever";
  }
  if (S_ISDIR(mode)) {
    return "is a directory: every check that meets its hash fails";
  }
  return "is no plain file: every check that meets its hash fails";
}

}  // namespace

std::optional<Finding> checkStoreDirectory(const struct stat& status, uid_t expected) {
  if (isForeign(status, expected)) {
    return Finding{Problem::directoryOwner,
                   {},
                   fmt::format("the store belongs to the user with number {}, who can plant and "
                               "remove decisions in it",
                               status.st_uid)};
  }
  if ((status.st_mode & othersWrite) != 0) {
    return Finding{Problem::directoryMode,
                   {},
                   fmt::format("the store has mode {}: other users can plant and remove decisions "
                               "in it",
                               modeText(status))};
  }
  if ((status.st_mode & S_IRWXU) != S_IRWXU) {
    return Finding{Problem::directoryMode,
                   {},
                   fmt::format("the store has mode {}: its owner cannot use it, and decisions are "
                               "neither found nor stored",
                               modeText(status))};
  }
  return {};
}

std::optional<Finding> checkEntry(const std::string& name, const struct stat& status,
                                  uid_t expected) {
  if (!S_ISREG(status.st_mode)) {
    return Finding{Problem::notPlain, name, whatLinksDo(status.st_mode)};
  }
  if (isForeign(status, expected)) {
    return Finding{Problem::owner, name,
                   fmt::format("belongs to the user with number {}, who can change what it accepts",
                               status.st_uid)};
  }
  if ((status.st_mode & othersWrite) != 0) {
    return Finding{
        Problem::mode, name,
        fmt::format("has mode {}: other users can change what it accepts", modeText(status))};
  }
  if ((status.st_mode & S_IRUSR) == 0) {
    return Finding{Problem::mode, name,
                   fmt::format("has mode {}: its owner cannot read it, and every check that meets "
                               "its hash fails",
                               modeText(status))};
  }
  return {};
}
