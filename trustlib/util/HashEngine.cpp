#include "trustlib/util/HashEngine.h"

#include <pthread.h>

#include "platform/toolkit/toolkit.h"
#include "trustlib/util/MutexLocker.h"

namespace {

pthread_mutex_t setUpMutex = PTHREAD_MUTEX_INITIALIZER;

}  // namespace

HashEngine::HashEngine() TRUSTLIB_THROWS(TrustManagerException) : context(nullptr), hash(nullptr) {
  setUpToolkit();
}

HashEngine::~HashEngine() {
  if (hash != nullptr) {
    toolkit_hash_end(hash, nullptr);
  }
  toolkit_context_destroy(context);
}

int HashEngine::init() TRUSTLIB_THROWS(TrustManagerException) {
  if (hash != nullptr) {
    return 0;
  }
  return toolkit_sha1_begin(context, digestLength, nullptr, nullptr, &hash);
}

int HashEngine::update(const unsigned char* data, unsigned int length)
    TRUSTLIB_THROWS(TrustManagerException) {
  if (hash == nullptr) {
    return -1;
  }
  return toolkit_hash_update(hash, data, length);
}

int HashEngine::getHash(unsigned char* digest, unsigned int* length)
    TRUSTLIB_THROWS(TrustManagerException) {
  if (length != nullptr) {
    *length = digestLength;
  }
  const int result = toolkit_hash_end(hash, digest);
  if (result == 0) {
    hash = nullptr;
  }
  return result;
}

int HashEngine::getHashLength() TRUSTLIB_THROWS(TrustManagerException) {
  return digestLength;
}

int HashEngine::setUpToolkit() {
  MutexLocker locker(&setUpMutex);
  locker.lock();
  int result = toolkit_context_create(&context);
  if (result == 0) {
    result = toolkit_provider_register(context);
  }
  int state = TOOLKIT_PROVIDER_READY;
  if (result == 0) {
    result = toolkit_provider_state(context, &state);
  }
  if (result == 0 && state == TOOLKIT_PROVIDER_UNINITIALISED) {
    result = toolkit_provider_initialize(context);
  } else if (result == 0 && state == TOOLKIT_PROVIDER_STATE_FAILED) {
    result = -1;
  }
  return result;
}
