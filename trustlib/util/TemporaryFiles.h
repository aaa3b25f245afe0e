#ifndef TRUSTLIB_UTIL_TEMPORARY_FILES_H
#define TRUSTLIB_UTIL_TEMPORARY_FILES_H

#include <list>
#include <string>

#include "trustlib/Certificate.h"

// Files that live as long as this object, for handing certificates to platform services.
// No two threads and no two processes ever share one. One object belongs to one thread.
class TRUSTLIB_EXPORT TemporaryFiles {
 public:
  TemporaryFiles() TRUSTLIB_THROWS(TrustManagerException);

  // Deletes the files. Throws TrustManagerException when one cannot be deleted (the rest
  // then stays), unless another exception is already in flight.
  virtual ~TemporaryFiles() noexcept(false);

  TemporaryFiles(const TemporaryFiles&) = delete;
  TemporaryFiles& operator=(const TemporaryFiles&) = delete;

  // Makes one more file with these bytes.
  void createTemporaryFile(const unsigned char* data, unsigned int length)
      TRUSTLIB_THROWS(TrustManagerException);

  // Makes a DER file for each certificate of the chain, in order; NULL entries are skipped.
  void createTemporaryCertificateFiles(const std::list<Certificate*>* chain)
      TRUSTLIB_THROWS(TrustManagerException);

  // The paths in the order of creation; the list lives as long as this object.
  const std::list<std::string>* getTemporaryFilePaths() const
      TRUSTLIB_THROWS(TrustManagerException);

 private:
  std::list<std::string> paths;
};

#endif
