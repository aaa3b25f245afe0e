#include "tests/support/TemporaryDirectory.h"

#include <stdlib.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

TemporaryDirectory::TemporaryDirectory() {
  const char* base = getenv("TMPDIR");
  path_ = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/trustlib-test-XXXXXX";
  if (mkdtemp(path_.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(), "cannot make " + path_);
  }
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryDirectory::path(std::string_view name) const {
  return path_ + "/" + std::string(name);
}

std::string TemporaryDirectory::write(std::string_view name, std::string_view content) const {
  const std::filesystem::path file = path(name);
  std::filesystem::create_directories(file.parent_path());
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out.write(content.data(), static_cast<std::streamsize>(content.size()));
  out.close();
  if (!out) throw std::runtime_error("cannot write " + file.string());
  return file.string();
}
