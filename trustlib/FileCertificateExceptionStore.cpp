#include "trustlib/FileCertificateExceptionStore.h"

#include <cstdlib>
#include <memory>

#include "trustlib/CertificateExceptionJsonCodec.h"
#include "trustlib/util/FileUtilities.h"
#include "trustlib/util/ObjectLifecycleManager.h"
#include "trustlib/util/ReadLock.h"
#include "trustlib/util/StringUtilities.h"
#include "trustlib/util/Utilities.h"
#include "trustlib/util/WriteLock.h"

namespace {

const int numbersPerHash = 10;

std::string hexHashOf(const CertificateException* exception) {
  unsigned char* digest = nullptr;
  unsigned int length = 0;
  if (exception == nullptr || exception->hash(&digest, &length) != 0) {
    throw TrustManagerException("Failed to compute SHA1 hash for certificate exception");
  }
  std::string hex;
  Utilities::binaryToHex(digest, length, &hex);
  free(digest);
  return hex;
}

}  // namespace

const std::string FileCertificateExceptionStore::fileNamePrefix("cx_");
const std::string FileCertificateExceptionStore::fileExtension(".json");

FileCertificateExceptionStore::FileCertificateExceptionStore(const std::string* directory)
    TRUSTLIB_THROWS(TrustManagerException)
    : codec(nullptr) {
  if (directory == nullptr) {
    throw TrustManagerException("FileCertificateExceptionStore: Invalid directory path - NULL");
  }
  this->directory = *directory;
  // No destructor runs when the directory cannot be made.
  std::unique_ptr<CertificateExceptionCodec> ownedCodec(new CertificateExceptionJsonCodec());
  FileUtilities::createCertificateExceptionStoreDir(directory);
  pthread_rwlock_init(&lock, nullptr);
  codec = ownedCodec.release();
}

FileCertificateExceptionStore::~FileCertificateExceptionStore() {
  delete codec;
  pthread_rwlock_destroy(&lock);
}

bool FileCertificateExceptionStore::addException(const CertificateException* exception)
    TRUSTLIB_THROWS(TrustManagerException) {
  const WriteLock writeLock(&lock);
  bool created = false;
  // Another process may take the free number first: what it wrote there decides what is next.
  for (int attempt = 0; !created && attempt < numbersPerHash; ++attempt) {
    bool exists = false;
    bool available = false;
    std::string path;
    getCertificateExceptionFilepath(exception, &exists, &available, &path);
    if (exists) {
      return false;
    }
    if (!available) {
      break;
    }
    unsigned char* bytes = nullptr;
    unsigned int length = 0;
    codec->encode(exception, &bytes, &length);
    ObjectLifecycleManager guard;
    guard.addBuffer(bytes);
    created = FileUtilities::createFile(&path, bytes, length);
  }
  if (!created) {
    throw TrustManagerException("Failed to create unique certificate exception filename");
  }
  return true;
}

bool FileCertificateExceptionStore::exceptionExists(const CertificateException* exception) const
    TRUSTLIB_THROWS(TrustManagerException) {
  const ReadLock readLock(&lock);
  bool exists = false;
  bool available = false;
  std::string path;
  getCertificateExceptionFilepath(exception, &exists, &available, &path);
  return exists;
}

void FileCertificateExceptionStore::clear() TRUSTLIB_THROWS(TrustManagerException) {
  const WriteLock writeLock(&lock);
  std::list<std::string> names;
  FileUtilities::listFiles(&directory, &names);
  for (const std::string& name : names) {
    const std::string path = directory + "/" + name;
    if (getCodec(&path) != nullptr) {
      FileUtilities::deleteFile(&path);
    }
  }
}

void FileCertificateExceptionStore::getCertificateExceptionFilepath(
    const CertificateException* exception, bool* exists, bool* available, std::string* path) const {
  *exists = false;
  *available = false;
  const std::string stem = directory + "/" + fileNamePrefix + hexHashOf(exception) + "_";
  for (int number = 0; number < numbersPerHash; ++number) {
    std::string candidate = stem;
    StringUtilities::append(&candidate, number);
    candidate.append(fileExtension);
    if (!FileUtilities::pathExists(&candidate)) {
      // Records beyond a gap are not seen: a search costs one look for almost every chain.
      *path = candidate;
      *available = true;
      return;
    }
    CertificateException* loaded = nullptr;
    loadCertificateException(&candidate, &loaded);
    const std::unique_ptr<CertificateException> owner(loaded);
    if (exception->compare(loaded)) {
      *path = candidate;
      *exists = true;
      return;
    }
  }
}

CertificateExceptionCodec* FileCertificateExceptionStore::getCodec(const std::string* path) const {
  return StringUtilities::endsWith(*path, fileExtension) ? codec : nullptr;
}

void FileCertificateExceptionStore::loadCertificateException(
    const std::string* path, CertificateException** exception) const {
  CertificateExceptionCodec* fileCodec = getCodec(path);
  if (fileCodec == nullptr) {
    throw TrustManagerException("Could not find a codec for certificate exception: %s",
                                path->c_str());
  }
  unsigned char* bytes = nullptr;
  unsigned int length = 0;
  FileUtilities::readFile(path, &bytes, &length);
  ObjectLifecycleManager guard;
  guard.addBuffer(bytes);
  fileCodec->decode(bytes, length, exception);
}
