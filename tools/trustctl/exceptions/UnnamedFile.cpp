#include "tools/trustctl/exceptions/UnnamedFile.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>
#include <utility>

#include <fmt/format.h>

#include "services/common/FileSystem.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/Interruption.h"
#include "tools/trustctl/WriteAll.h"

UnnamedFile::UnnamedFile(std::string content, std::string instead)
    : content_(std::move(content)), instead_(std::move(instead)) {
  std::string path = (std::filesystem::path(temporaryDirectory()) / "trustctl-XXXXXX").string();
  const InterruptionBlocker blocker;  // made and without a name, or neither
  file_.reset(mkostemp(path.data(), O_CLOEXEC));
  if (file_.get() == -1) {
    fail(errno);
  }
  unlink(path.c_str());
}

void UnnamedFile::write(std::string_view bytes) {
  const int error = writeAll(file_.get(), bytes);
  if (error != 0) {
    fail(error);
  }
}

void UnnamedFile::readAll(const std::function<void(const std::string&)>& take) const {
  constexpr std::size_t pieceBytes = std::size_t{256} * 1024;
  std::string piece(pieceBytes, '\0');
  for (off_t at = 0;; at += static_cast<off_t>(piece.size())) {
    Interruption::check();
    piece.resize(pieceBytes);
    const ssize_t length = pread(file_.get(), piece.data(), piece.size(), at);
    if (length == -1) {
      fail(errno);
    }
    piece.resize(static_cast<std::size_t>(length));
    if (piece.empty()) {
      return;
    }
    take(piece);
  }
}

void UnnamedFile::fail(int error) const {
  throw CommandError(ExitStatus::undecided,
                     fmt::format("cannot keep {} in a temporary file (TMPDIR): {}; free some "
                                 "space, or {}",
                                 content_, std::generic_category().message(error), instead_));
}
