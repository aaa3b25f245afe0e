#ifndef TOOLS_TRUSTCTL_MANY_PARALLEL_H
#define TOOLS_TRUSTCTL_MANY_PARALLEL_H

#include <cstddef>
#include <functional>

// Does `work` for each index below `count`, on up to `threads` threads at once, and then `tell`
// on the calling thread, in the order of the indexes; `work` is never far ahead of `tell`.
// `idle` is called on the calling thread ten times a second while it waits. `work` must not throw
// anything but Interrupted. Throws Interrupted on a signal, after all threads have ended, and
// what `tell` throws. Call it from the main thread.
void inParallel(std::size_t count, std::size_t threads,
                const std::function<void(std::size_t)>& work,
                const std::function<void(std::size_t)>& tell, const std::function<void()>& idle);

#endif
