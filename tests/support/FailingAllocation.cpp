#include "tests/support/FailingAllocation.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

int allocationsLeft = -1;

}  // namespace

void allowAllocations(int count) {
  allocationsLeft = count;
}

void* operator new(std::size_t size) {
  if (allocationsLeft == 0) {
    throw std::bad_alloc();
  }
  if (allocationsLeft > 0) {
    --allocationsLeft;
  }
  void* memory = malloc(size > 0 ? size : 1);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void operator delete(void* memory) noexcept {
  free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  free(memory);
}
