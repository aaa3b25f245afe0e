#ifndef TRUSTLIB_UTIL_FILE_UTILITIES_H
#define TRUSTLIB_UTIL_FILE_UTILITIES_H

#include <list>
#include <string>

#include "trustlib/Export.h"
#include "trustlib/Throws.h"
#include "trustlib/util/TrustManagerException.h"

// Static helpers over files and directories. Paths must not be NULL unless it is said.
// Every failure is a TrustManagerException; nothing is retried. The helpers may run on any
// thread; what two of them do to one file at once is the file system's affair.
//
// The home directory is HOME with its links resolved, or /var/temp where HOME is unset or
// does not resolve. It is looked up once for the life of the process.
class TRUSTLIB_EXPORT FileUtilities {
 public:
  // True when anything stands at the path.
  static bool pathExists(const std::string* path) TRUSTLIB_THROWS(TrustManagerException);

  // Removes the file or the empty directory.
  static void deleteFile(const std::string* path) TRUSTLIB_THROWS(TrustManagerException);

  // Removes each in order; the first failure ends it, with the rest untouched.
  static void deleteFiles(const std::list<std::string>* paths)
      TRUSTLIB_THROWS(TrustManagerException);

  // Appends the names of all entries, "." and ".." included, in the directory's own order.
  static void listFiles(const std::string* directory, std::list<std::string>* names)
      TRUSTLIB_THROWS(TrustManagerException);

  // Makes the directory and every missing parent, with mode 0775 less the umask.
  static void createCertificateExceptionStoreDir(const std::string* path)
      TRUSTLIB_THROWS(TrustManagerException);

  // Appends the directory of the user's own exception store. NULL does nothing.
  static void getLocalCertificateExceptionStoreDirPath(std::string* path)
      TRUSTLIB_THROWS(TrustManagerException);

  // Appends a path for a temporary file: the home directory's "tmp", the time in seconds and
  // a counter, ".der". Makes the directory. No two calls in one process give the same path;
  // another process may: claim it exclusively.
  static void createTemporaryFilePath(std::string* path) TRUSTLIB_THROWS(TrustManagerException);

  // Writes the bytes, replacing what is there. Only a failure to open is reported.
  static void writeFile(const std::string* path, const unsigned char* data, unsigned int length)
      TRUSTLIB_THROWS(TrustManagerException);

  // Makes a file of these bytes, durably, where nothing stands yet. The path never shows a part
  // of them, whenever the process ends; a process that is killed may leave a file with more
  // behind that name, ending in ".new". False when something stands at the path already.
  static bool createFile(const std::string* path, const unsigned char* data, unsigned int length)
      TRUSTLIB_THROWS(TrustManagerException);

  // Reads the whole file into a buffer that the caller frees with free(). Bytes that could
  // not be read are zero.
  static void readFile(const std::string* path, unsigned char** data, unsigned int* length)
      TRUSTLIB_THROWS(TrustManagerException);

 private:
  static const std::string& homeDirectory();
  static void createDirectoryPath(const std::string* path);
  static void createDirectory(const std::string& path);
};

#endif
