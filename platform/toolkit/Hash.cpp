#include <algorithm>
#include <memory>
#include <new>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/opensslv.h>

#include "platform/toolkit/toolkit.h"

namespace {

constexpr unsigned int sha1Length = 20;
constexpr unsigned int bytesBetweenYields = 64 * 1024;

// Takes away the errors that the calls during its life leave in the thread's
// queue: the application around us reads that queue for its own connections.
class ErrorQueueGuard {
 public:
  ErrorQueueGuard() { ERR_set_mark(); }
  ~ErrorQueueGuard() { ERR_pop_to_mark(); }
  ErrorQueueGuard(const ErrorQueueGuard&) = delete;
  ErrorQueueGuard& operator=(const ErrorQueueGuard&) = delete;
};

// A fetched algorithm is ours to free; up to 1.1.1 algorithms are constants.
#if OPENSSL_VERSION_NUMBER >= 0x30000000L
struct AlgorithmDeleter {
  void operator()(EVP_MD* algorithm) const { EVP_MD_free(algorithm); }
};
using Algorithm = std::unique_ptr<EVP_MD, AlgorithmDeleter>;
Algorithm loadSha1() {
  return Algorithm(EVP_MD_fetch(nullptr, "SHA1", nullptr));
}
#else
struct AlgorithmDeleter {
  void operator()(const EVP_MD*) const {}
};
using Algorithm = std::unique_ptr<const EVP_MD, AlgorithmDeleter>;
Algorithm loadSha1() {
  return Algorithm(EVP_sha1());
}
#endif

struct ComputationDeleter {
  void operator()(EVP_MD_CTX* computation) const { EVP_MD_CTX_free(computation); }
};

}  // namespace

struct toolkit_context {
  bool registered = false;
  int state = TOOLKIT_PROVIDER_UNINITIALISED;
  Algorithm sha1;  // once the state is ready
};

struct toolkit_hash {
  std::unique_ptr<EVP_MD_CTX, ComputationDeleter> computation;
  toolkit_yield_t yield;
  void* yieldArgument;
};

int toolkit_context_create(toolkit_context_t** context) {
  if (context == nullptr) return TOOLKIT_BAD_ARGUMENT;
  auto* const created = new (std::nothrow) toolkit_context;
  if (created == nullptr) return TOOLKIT_NO_MEMORY;
  *context = created;
  return TOOLKIT_OK;
}

void toolkit_context_destroy(toolkit_context_t* context) {
  delete context;
}

int toolkit_provider_register(toolkit_context_t* context) {
  if (context == nullptr) return TOOLKIT_BAD_ARGUMENT;
  context->registered = true;
  return TOOLKIT_OK;
}

int toolkit_provider_state(const toolkit_context_t* context, int* state) {
  if (context == nullptr || state == nullptr) return TOOLKIT_BAD_ARGUMENT;
  if (!context->registered) return TOOLKIT_NO_PROVIDER;
  *state = context->state;
  return TOOLKIT_OK;
}

int toolkit_provider_initialize(toolkit_context_t* context) {
  if (context == nullptr) return TOOLKIT_BAD_ARGUMENT;
  if (!context->registered) return TOOLKIT_NO_PROVIDER;
  if (context->state == TOOLKIT_PROVIDER_READY) return TOOLKIT_OK;
  const ErrorQueueGuard guard;
  context->sha1 = loadSha1();
  context->state =
      context->sha1 == nullptr ? TOOLKIT_PROVIDER_STATE_FAILED : TOOLKIT_PROVIDER_READY;
  return context->sha1 == nullptr ? TOOLKIT_PROVIDER_FAILED : TOOLKIT_OK;
}

int toolkit_sha1_begin(toolkit_context_t* context, unsigned int digest_length,
                       toolkit_yield_t yield, void* yield_argument, toolkit_hash_t** hash) {
  if (context == nullptr || hash == nullptr) return TOOLKIT_BAD_ARGUMENT;
  if (context->state != TOOLKIT_PROVIDER_READY) return TOOLKIT_NO_PROVIDER;
  if (digest_length != sha1Length) return TOOLKIT_UNSUPPORTED;
  const ErrorQueueGuard guard;
  std::unique_ptr<toolkit_hash> created(new (std::nothrow)
                                            toolkit_hash{nullptr, yield, yield_argument});
  if (created == nullptr) return TOOLKIT_NO_MEMORY;
  created->computation.reset(EVP_MD_CTX_new());
  if (created->computation == nullptr) return TOOLKIT_NO_MEMORY;
  if (EVP_DigestInit_ex(created->computation.get(), context->sha1.get(), nullptr) != 1) {
    return TOOLKIT_HASH_FAILED;
  }
  *hash = created.release();
  return TOOLKIT_OK;
}

int toolkit_hash_update(toolkit_hash_t* hash, const unsigned char* data, unsigned int length) {
  if (hash == nullptr || (data == nullptr && length > 0)) return TOOLKIT_BAD_ARGUMENT;
  const ErrorQueueGuard guard;
  while (length > 0) {
    const unsigned int count = std::min(length, bytesBetweenYields);
    if (EVP_DigestUpdate(hash->computation.get(), data, count) != 1) return TOOLKIT_HASH_FAILED;
    data += count;
    length -= count;
    if (length > 0 && hash->yield != nullptr) hash->yield(hash->yieldArgument);
  }
  return TOOLKIT_OK;
}

int toolkit_hash_end(toolkit_hash_t* hash, unsigned char* digest) {
  if (hash == nullptr) return TOOLKIT_BAD_ARGUMENT;
  std::unique_ptr<toolkit_hash> owned(hash);
  if (digest == nullptr) return TOOLKIT_OK;
  const ErrorQueueGuard guard;
  if (EVP_DigestFinal_ex(hash->computation.get(), digest, nullptr) == 1) return TOOLKIT_OK;
  (void)owned.release();  // the caller still has to end it
  return TOOLKIT_HASH_FAILED;
}
