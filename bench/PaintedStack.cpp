#include "bench/PaintedStack.h"

#include <pthread.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace {

using Word = std::uint32_t;

constexpr Word paint = 0xC5A3965AU;
constexpr std::size_t stackBytes = 1024UL * 1024UL;
constexpr std::size_t alignment = 4096;

struct Start {
  const std::function<void()>* work;
  const char* frame;
};

void* run(void* argument) {
  auto* start = static_cast<Start*>(argument);
  start->frame = static_cast<const char*>(__builtin_frame_address(0));
  (*start->work)();
  return nullptr;
}

}  // namespace

StackUse onPaintedStack(const std::function<void()>& work) {
  std::vector<Word> memory((stackBytes + alignment) / sizeof(Word), paint);
  const std::size_t excess = reinterpret_cast<std::uintptr_t>(memory.data()) % alignment;
  Word* const low = memory.data() + (alignment - excess) / sizeof(Word);
  Word* const high = low + stackBytes / sizeof(Word);

  Start start{&work, nullptr};
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstack(&attributes, low, stackBytes);
  pthread_t thread;
  const int failed = pthread_create(&thread, &attributes, run, &start);
  pthread_attr_destroy(&attributes);
  if (failed != 0 || pthread_join(thread, nullptr) != 0) {
    throw std::runtime_error("no thread");
  }
  const Word* const deepest = std::find_if(low, high, [](Word word) { return word != paint; });
  return {static_cast<std::size_t>(start.frame - reinterpret_cast<const char*>(deepest)),
          static_cast<std::size_t>(reinterpret_cast<const char*>(high) - start.frame)};
}
