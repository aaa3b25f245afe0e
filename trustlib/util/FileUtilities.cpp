#include "trustlib/util/FileUtilities.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>

#include "trustlib/util/StringUtilities.h"

namespace {

const mode_t directoryMode = 0775;
const mode_t newFileMode = 0644;

std::atomic<std::int32_t> temporaryFileCounter(0);

bool isDirectory(const std::string& path, bool* exists) {
  struct stat status;
  *exists = stat(path.c_str(), &status) == 0;
  return *exists && S_ISDIR(status.st_mode);
}

// Opens a file of its own beside the path, which is told through `candidate`.
int openNewFileBeside(const std::string& path, std::string* candidate) {
  int fd = -1;
  do {
    *candidate = path + "." + std::to_string(temporaryFileCounter++) + ".new";
    fd = open(candidate->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, newFileMode);
  } while (fd == -1 && errno == EEXIST);
  return fd;
}

bool writeDurably(int fd, const unsigned char* data, std::size_t length) {
  while (length > 0) {
    const ssize_t written = write(fd, data, length);
    if (written == -1 && errno != EINTR) {
      return false;
    }
    if (written > 0) {
      data += written;
      length -= static_cast<std::size_t>(written);
    }
  }
  return fsync(fd) == 0;
}

// Gives the file its name where no other has it; errno is EEXIST where one has.
bool moveIntoPlace(const std::string& from, const std::string& to) {
  if (link(from.c_str(), to.c_str()) == 0) {
    unlink(from.c_str());
    return true;
  }
  if (errno != EPERM && errno != ENOTSUP && errno != ENOSYS) {
    return false;
  }
  // A file system without links: no name can be given and refused in one step there.
  struct stat status;
  if (lstat(to.c_str(), &status) == 0) {
    errno = EEXIST;
    return false;
  }
  return rename(from.c_str(), to.c_str()) == 0;
}

// Not every file system can; then the name lasts as long as the file system sees to it.
void makeNamesDurable(const std::string& path) {
  const std::string directory = path.substr(0, path.find_last_of('/') + 1);
  const int fd = open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd != -1) {
    fsync(fd);
    close(fd);
  }
}

// What is read and written here comes in one piece: a buffer of 8 KB would only be taken and
// given back.
template <typename FileStream>
void openUnbuffered(const std::string* path, std::ios::openmode mode, FileStream* file) {
  file->rdbuf()->pubsetbuf(nullptr, 0);
  file->open(path->c_str(), std::ios::binary | mode);
}

std::string findHomeDirectory() {
  const char* home = getenv("HOME");
  char resolved[PATH_MAX];
  if (home == nullptr || realpath(home, resolved) == nullptr) {
    return "/var/temp";
  }
  return resolved;
}

}  // namespace

bool FileUtilities::pathExists(const std::string* path) TRUSTLIB_THROWS(TrustManagerException) {
  struct stat status;
  return stat(path->c_str(), &status) == 0;
}

void FileUtilities::deleteFile(const std::string* path) TRUSTLIB_THROWS(TrustManagerException) {
  if (remove(path->c_str()) != 0) {
    const int error = errno;
    throw TrustManagerException("FileUtilities::deleteFile - failed: %s", strerror(error));
  }
}

void FileUtilities::deleteFiles(const std::list<std::string>* paths)
    TRUSTLIB_THROWS(TrustManagerException) {
  for (const std::string& path : *paths) {
    deleteFile(&path);
  }
}

void FileUtilities::listFiles(const std::string* directory, std::list<std::string>* names)
    TRUSTLIB_THROWS(TrustManagerException) {
  if (directory == nullptr) {
    throw TrustManagerException(
        "FileUtilities::listFiles - cannot list contents of directory with NULL name");
  }
  if (names == nullptr) {
    throw TrustManagerException(
        "FileUtilities::listFiles - cannot record directory contents into NULL list");
  }
  DIR* stream = opendir(directory->c_str());
  if (stream == nullptr) {
    throw TrustManagerException("FileUtilities::listFiles - failed to open directory");
  }
  while (const dirent* entry = readdir(stream)) {
    names->push_back(entry->d_name);
  }
  closedir(stream);
}

void FileUtilities::createCertificateExceptionStoreDir(const std::string* path)
    TRUSTLIB_THROWS(TrustManagerException) {
  createDirectoryPath(path);
}

void FileUtilities::getLocalCertificateExceptionStoreDirPath(std::string* path)
    TRUSTLIB_THROWS(TrustManagerException) {
  if (path != nullptr) {
    path->append(homeDirectory()).append("/vallorin/certexcept");
  }
}

void FileUtilities::createTemporaryFilePath(std::string* path)
    TRUSTLIB_THROWS(TrustManagerException) {
  const std::string now = std::to_string(static_cast<unsigned long long>(time(nullptr)));
  const std::string counter = std::to_string(temporaryFileCounter++);
  const std::string directory = homeDirectory() + "/tmp";
  createDirectoryPath(&directory);
  path->append(directory).append("/").append(now).append(counter).append(".der");
}

void FileUtilities::writeFile(const std::string* path, const unsigned char* data,
                              unsigned int length) TRUSTLIB_THROWS(TrustManagerException) {
  std::ofstream file;
  openUnbuffered(path, std::ios::trunc, &file);
  if (!file.is_open()) {
    throw TrustManagerException("FileUtilities::write - failed to open file");
  }
  file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(length));
}

bool FileUtilities::createFile(const std::string* path, const unsigned char* data,
                               unsigned int length) TRUSTLIB_THROWS(TrustManagerException) {
  std::string candidate;
  const int fd = openNewFileBeside(*path, &candidate);
  if (fd == -1) {
    throw TrustManagerException("FileUtilities::write - failed to open file");
  }
  bool done = writeDurably(fd, data, length);
  int error = errno;
  if (close(fd) != 0 && done) {
    done = false;
    error = errno;
  }
  if (done) {
    done = moveIntoPlace(candidate, *path);
    error = errno;
  }
  if (!done) {
    unlink(candidate.c_str());
    if (error == EEXIST) {
      return false;
    }
    throw TrustManagerException("FileUtilities::write - failed to write file: %s", strerror(error));
  }
  makeNamesDurable(*path);
  return true;
}

void FileUtilities::readFile(const std::string* path, unsigned char** data, unsigned int* length)
    TRUSTLIB_THROWS(TrustManagerException) {
  std::ifstream file;
  openUnbuffered(path, std::ios::in, &file);
  if (!file.is_open()) {
    throw TrustManagerException("FileUtilities::readFile - failed to open file");
  }
  // A directory opens too, but has no size to speak of: no buffer will do for it, nor for what a
  // 32-bit process cannot read in one go.
  const auto most = std::min<std::uintmax_t>(UINT_MAX, std::numeric_limits<std::streamsize>::max());
  const std::streamoff size = file.seekg(0, std::ios::end).tellg();
  file.seekg(0, std::ios::beg);
  unsigned char* buffer = nullptr;
  if (size >= 0 && static_cast<std::uintmax_t>(size) <= most) {
    buffer = static_cast<unsigned char*>(malloc(static_cast<std::size_t>(size)));
  }
  if (buffer == nullptr) {
    throw TrustManagerException("FileUtilities::readFile - failed to allocate buffer");
  }
  file.read(reinterpret_cast<char*>(buffer), static_cast<std::streamsize>(size));
  memset(buffer + file.gcount(), 0, static_cast<std::size_t>(size - file.gcount()));
  *data = buffer;
  *length = static_cast<unsigned int>(size);
}

// Never freed, so that it may be used to the very end of the process.
const std::string& FileUtilities::homeDirectory() {
  static const std::string* home = new std::string(findHomeDirectory());
  return *home;
}

void FileUtilities::createDirectoryPath(const std::string* path) {
  std::list<std::string> components;
  StringUtilities::tokenize(path, "/", components);
  std::string prefix = StringUtilities::startsWith(*path, "/") ? "/" : "";
  for (const std::string& component : components) {
    prefix.append(component);
    if (prefix.empty()) {
      throw TrustManagerException("FileUtilities::createDirectoryPath - invalid path: %s",
                                  path->c_str());
    }
    createDirectory(prefix);
    prefix.append("/");
  }
}

void FileUtilities::createDirectory(const std::string& path) {
  bool exists = false;
  bool directory = isDirectory(path, &exists);
  if (!exists) {
    if (mkdir(path.c_str(), directoryMode) == 0) {
      return;
    }
    // Another thread or process may have made it in the meantime.
    directory = isDirectory(path, &exists);
    if (!exists) {
      throw TrustManagerException("FileUtilities::createDirectory - failed to create directory: %s",
                                  path.c_str());
    }
  }
  if (!directory) {
    throw TrustManagerException("FileUtilities::createDirectory - path is not a directory: %s",
                                path.c_str());
  }
}
