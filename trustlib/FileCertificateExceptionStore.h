#ifndef TRUSTLIB_FILE_CERTIFICATE_EXCEPTION_STORE_H
#define TRUSTLIB_FILE_CERTIFICATE_EXCEPTION_STORE_H

#include <pthread.h>

#include <string>

#include "trustlib/CertificateExceptionCodec.h"
#include "trustlib/CertificateExceptionStore.h"

// Decisions as files of one directory, one each:
//
//   DIRECTORY/cx_<the record's SHA-1, 40 hexadecimal digits>_<0 to 9>.json
//
// The last number tells apart records that hash alike; a search for a record begins at 0 and
// ends at the first number that is free. A file that cannot be read makes every operation on
// a record of that hash throw: a decision that was lost must not pass for one never made.
//
// A record appears whole or not at all, whenever the process ends, and never in place of
// another. A writer that is killed may leave a file ending in ".new", which nothing reads.
//
// One lock a store: lookups run side by side, and changes alone. Other stores, and other
// processes, over the same directory may add at the same time without harm (on a file system
// without hard links, one of two different records of one hash may be lost); what clear()
// removes while they look is gone for them too.
class TRUSTLIB_EXPORT FileCertificateExceptionStore : public CertificateExceptionStore {
 public:
  // Over the directory of that path, taken as it is given, which is made where missing.
  // Throws when the path is NULL or the directory cannot be made.
  explicit FileCertificateExceptionStore(const std::string* directory)
      TRUSTLIB_THROWS(TrustManagerException);

  // Leaves the files.
  ~FileCertificateExceptionStore() override;

  FileCertificateExceptionStore(const FileCertificateExceptionStore&) = delete;
  FileCertificateExceptionStore& operator=(const FileCertificateExceptionStore&) = delete;

  bool addException(const CertificateException* exception)
      TRUSTLIB_THROWS(TrustManagerException) override;
  bool exceptionExists(const CertificateException* exception) const
      TRUSTLIB_THROWS(TrustManagerException) override;

  // Removes every file whose name ends in ".json", whatever it holds. The first that cannot
  // be removed ends it.
  void clear() TRUSTLIB_THROWS(TrustManagerException) override;

 private:
  // Looks for the record. `*exists`: it is at `*path`. `*available`: it is not there, and
  // `*path` is where it would go. Neither: all numbers of its hash are taken by others.
  void getCertificateExceptionFilepath(const CertificateException* exception, bool* exists,
                                       bool* available, std::string* path) const;

  // The codec for a file of that name, or NULL.
  CertificateExceptionCodec* getCodec(const std::string* path) const;

  // The record of that file; the caller owns it.
  void loadCertificateException(const std::string* path, CertificateException** exception) const;

  static const std::string fileNamePrefix;
  static const std::string fileExtension;

  std::string directory;
  CertificateExceptionCodec* codec;  // owned
  mutable pthread_rwlock_t lock;
};

#endif
