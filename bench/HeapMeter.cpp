#include "bench/HeapMeter.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

#include <openssl/crypto.h>

// What the C library calls its own allocator by.
extern "C" {
void* __libc_malloc(std::size_t size);                     // NOLINT: the library's names
void* __libc_calloc(std::size_t count, std::size_t size);  // NOLINT
void* __libc_realloc(void* block, std::size_t size);       // NOLINT
void __libc_free(void* block);                             // NOLINT
}

namespace {

thread_local bool metering = false;
thread_local HeapUser user = HeapUser::CLibrary;
HeapUse use;

// Books blocks as that user's as long as it lives.
class UserScope {
 public:
  explicit UserScope(HeapUser now) : before_(user) { user = now; }
  ~UserScope() { user = before_; }
  UserScope(const UserScope&) = delete;
  UserScope& operator=(const UserScope&) = delete;

 private:
  const HeapUser before_;
};

void* taken(void* block) {
  if (metering && block != nullptr) {
    const std::size_t size = malloc_usable_size(block);
    HeapUse::Share& share = use.of(user);
    ++share.allocations;
    share.bytes += size;
    use.live += static_cast<std::ptrdiff_t>(size);
    use.peak = std::max(use.peak, use.live);
  }
  return block;
}

void given(void* block) {
  if (metering && block != nullptr) {
    use.live -= static_cast<std::ptrdiff_t>(malloc_usable_size(block));
  }
}

void* openSslMalloc(std::size_t size, const char*, int) {
  const UserScope scope(HeapUser::OpenSsl);
  return malloc(size);
}

void* openSslRealloc(void* block, std::size_t size, const char*, int) {
  const UserScope scope(HeapUser::OpenSsl);
  return realloc(block, size);
}

void openSslFree(void* block, const char*, int) {
  free(block);
}

}  // namespace

HeapUse::Share HeapUse::total() const {
  Share sum;
  for (const Share& share : shares) {
    sum.allocations += share.allocations;
    sum.bytes += share.bytes;
  }
  return sum;
}

bool meterOpenSsl() {
  return CRYPTO_set_mem_functions(openSslMalloc, openSslRealloc, openSslFree) == 1;
}

void startHeapMeter() {
  use = HeapUse();
  metering = true;
}

HeapUse stopHeapMeter() {
  metering = false;
  return use;
}

// Hidden, these would be for this program's own calls alone.
#define DEFAULT_VISIBILITY __attribute__((visibility("default")))

DEFAULT_VISIBILITY void* malloc(std::size_t size) {
  return taken(__libc_malloc(size));
}

DEFAULT_VISIBILITY void* calloc(std::size_t count, std::size_t size) {
  return taken(__libc_calloc(count, size));
}

// The old block is gone before the new one is there: where both are needed for a moment, the
// peak is too low by that.
DEFAULT_VISIBILITY void* realloc(void* block, std::size_t size) {
  given(block);
  return taken(__libc_realloc(block, size));
}

DEFAULT_VISIBILITY void free(void* block) {
  given(block);
  __libc_free(block);
}

void* operator new(std::size_t size) {
  const UserScope scope(HeapUser::OperatorNew);
  void* const block = malloc(std::max<std::size_t>(size, 1));
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}

void operator delete(void* block) noexcept {
  free(block);
}

void operator delete(void* block, std::size_t) noexcept {
  free(block);
}
