#include "trustlib/pps/PpsConnection.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/select.h>
#include <unistd.h>

PpsConnection::PpsConnection(const char* path) TRUSTLIB_THROWS(TrustManagerException)
    : fd(open(path, O_RDWR)) {
  if (fd == -1) {
    throw TrustManagerException("PpsConnection - failed to open PPS: %s", path);
  }
}

PpsConnection::~PpsConnection() {
  if (fd != -1) {
    close(fd);
    fd = -1;
  }
}

int PpsConnection::write(const void* data, unsigned int length)
    TRUSTLIB_THROWS(TrustManagerException) {
  const ssize_t written = ::write(fd, data, length);
  if (written == -1) {
    const int error = errno;
    // The colon at the end has always been part of this text.
    throw TrustManagerException("PpsConnection::write - write error: %s:", strerror(error));
  }
  return static_cast<int>(written);
}

char* PpsConnection::read() TRUSTLIB_THROWS(TrustManagerException) {
  const ssize_t count = ::read(fd, buffer, bufferSize - 1);
  if (count == -1) {
    const int error = errno;
    throw TrustManagerException("PpsConnection::read - read error: %s", strerror(error));
  }
  // No conforming read comes here or to the next test; both guard against one that does not.
  if (count < 0) {
    throw TrustManagerException("PpsConnection::read - response buffer is empty");
  }
  if (count >= bufferSize) {
    throw TrustManagerException("PpsConnection::read - not enough buffer space for response");
  }
  buffer[count] = '\0';
  return buffer;
}

char* PpsConnection::read(int timeoutSeconds) TRUSTLIB_THROWS(TrustManagerException) {
  if (timeoutSeconds < 0) {
    return read();
  }
  if (fd >= FD_SETSIZE) {
    throw TrustManagerException(
        "PpsConnection::read - reached file descriptor set size limit of %d", FD_SETSIZE);
  }
  fd_set readable;
  FD_ZERO(&readable);
  FD_SET(fd, &readable);
  timeval limit;
  limit.tv_sec = timeoutSeconds;
  limit.tv_usec = 0;
  const int ready = select(fd + 1, &readable, nullptr, nullptr, &limit);
  if (ready == -1) {
    const int error = errno;
    throw TrustManagerException("PpsConnection::read - select error: %s", strerror(error));
  }
  if (ready == 0) {
    throw PpsTimeoutException("PpsConnection::read - timed out");
  }
  return read();
}
