#ifndef TRUSTLIB_PPS_PPS_CONNECTION_H
#define TRUSTLIB_PPS_PPS_CONNECTION_H

#include "trustlib/Export.h"
#include "trustlib/Throws.h"
#include "trustlib/util/PpsTimeoutException.h"
#include "trustlib/util/TrustManagerException.h"

// One request to a platform service and its one answer, over a control object: construct,
// write the whole request, read once. The answer's buffer lies inside the object, a little
// over 16 KB: keep connections on the stack. One connection belongs to one thread.
class TRUSTLIB_EXPORT PpsConnection {
 public:
  // Opens the control object at the path, which must exist; throws when it does not.
  explicit PpsConnection(const char* path) TRUSTLIB_THROWS(TrustManagerException);
  virtual ~PpsConnection();

  PpsConnection(const PpsConnection&) = delete;
  PpsConnection& operator=(const PpsConnection&) = delete;

  // Writes `length` bytes with one call and returns how many were taken.
  int write(const void* data, unsigned int length) TRUSTLIB_THROWS(TrustManagerException);

  // Waits for the answer and returns it NUL-terminated, in this object's buffer. An answer
  // longer than 16383 bytes is cut there; a service that closes gives the empty string.
  char* read() TRUSTLIB_THROWS(TrustManagerException);

  // The same, but throws PpsTimeoutException when no answer comes within that many whole
  // seconds; 0 polls once, negative waits without limit. An interrupted wait is an error.
  char* read(int timeoutSeconds) TRUSTLIB_THROWS(TrustManagerException);

 private:
  enum : int { bufferSize = 16384 };

  int fd;  // -1 when closed
  char buffer[bufferSize];
};

#endif
