#ifndef TRUSTLIB_UTIL_HASH_ENGINE_H
#define TRUSTLIB_UTIL_HASH_ENGINE_H

#include "trustlib/Export.h"
#include "trustlib/Throws.h"
#include "trustlib/util/TrustManagerException.h"

struct toolkit_context;
struct toolkit_hash;

// SHA-1 over the platform's crypto toolkit: init, update any number of times, getHash.
// Every operation reports by code, 0 for success. One engine belongs to one thread.
class TRUSTLIB_EXPORT HashEngine {
 public:
  enum : int { digestLength = 20 };

  // Sets the toolkit up. A failure shows in the first init().
  HashEngine() TRUSTLIB_THROWS(TrustManagerException);
  virtual ~HashEngine();

  HashEngine(const HashEngine&) = delete;
  HashEngine& operator=(const HashEngine&) = delete;

  // Begins a computation; while one runs it changes nothing and returns 0.
  int init() TRUSTLIB_THROWS(TrustManagerException);

  // Feeds `length` bytes. -1 when no computation runs.
  int update(const unsigned char* data, unsigned int length) TRUSTLIB_THROWS(TrustManagerException);

  // Stores 20 through `length` unless that is NULL, and writes the 20 bytes of the digest.
  // After a success the engine is ready for the next init().
  int getHash(unsigned char* digest, unsigned int* length) TRUSTLIB_THROWS(TrustManagerException);

  // Bytes of a digest, always 20.
  int getHashLength() TRUSTLIB_THROWS(TrustManagerException);

 private:
  int setUpToolkit();

  toolkit_context* context;  // owned, NULL when the set-up failed
  toolkit_hash* hash;        // owned, NULL when no computation runs
};

#endif
