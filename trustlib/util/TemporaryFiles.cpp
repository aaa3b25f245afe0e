#include "trustlib/util/TemporaryFiles.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <exception>

#include "trustlib/util/FileUtilities.h"

namespace {

const mode_t fileMode = 0666;

// Appends a path at which this call, and nobody else, has made an empty file.
void claimTemporaryFilePath(std::string* path) {
  for (;;) {
    std::string candidate;
    FileUtilities::createTemporaryFilePath(&candidate);
    const int fd = open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, fileMode);
    if (fd != -1) {
      close(fd);
      path->append(candidate);
      return;
    }
    if (errno != EEXIST) {
      throw TrustManagerException("FileUtilities::write - failed to open file");
    }
  }
}

}  // namespace

TemporaryFiles::TemporaryFiles() TRUSTLIB_THROWS(TrustManagerException) {}

TemporaryFiles::~TemporaryFiles() noexcept(false) {
  try {
    FileUtilities::deleteFiles(&paths);
  } catch (const TrustManagerException&) {
    if (!std::uncaught_exception()) {
      throw;
    }
  }
}

void TemporaryFiles::createTemporaryFile(const unsigned char* data, unsigned int length)
    TRUSTLIB_THROWS(TrustManagerException) {
  std::string path;
  claimTemporaryFilePath(&path);
  try {
    FileUtilities::writeFile(&path, data, length);
  } catch (const TrustManagerException&) {
    unlink(path.c_str());
    throw;
  }
  paths.push_back(path);
}

void TemporaryFiles::createTemporaryCertificateFiles(const std::list<Certificate*>* chain)
    TRUSTLIB_THROWS(TrustManagerException) {
  for (const Certificate* certificate : *chain) {
    if (certificate != nullptr) {
      createTemporaryFile(certificate->getDer(), certificate->getDerLength());
    }
  }
}

const std::list<std::string>* TemporaryFiles::getTemporaryFilePaths() const
    TRUSTLIB_THROWS(TrustManagerException) {
  return &paths;
}
