#ifndef BENCH_PAINTEDSTACK_H
#define BENCH_PAINTEDSTACK_H

#include <cstddef>
#include <functional>

struct StackUse {
  std::size_t work;         // below the frame that calls the work
  std::size_t threadStart;  // above it: the thread's own data and what starts it
};

// Runs the work on a thread with a stack of its own, filled with a pattern, and looks how deep
// the pattern is gone. Lets no exception out: the work throws none.
StackUse onPaintedStack(const std::function<void()>& work);

#endif
