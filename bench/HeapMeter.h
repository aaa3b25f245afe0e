#ifndef BENCH_HEAPMETER_H
#define BENCH_HEAPMETER_H

#include <array>
#include <cstddef>

// Who asked for a block. What the C++ runtime takes for a container or a stream counts as
// OperatorNew; CLibrary is everybody who calls malloc alone.
enum class HeapUser { OpenSsl, OperatorNew, CLibrary };

// What one measured piece of work did to the heap. Bytes are those of whole blocks, as the
// allocator rounds them.
struct HeapUse {
  struct Share {
    std::size_t allocations = 0;  // a block that grows counts as a new one
    std::size_t bytes = 0;
  };

  Share& of(HeapUser user) { return shares[static_cast<std::size_t>(user)]; }
  const Share& of(HeapUser user) const { return shares[static_cast<std::size_t>(user)]; }
  Share total() const;

  std::array<Share, 3> shares;
  std::ptrdiff_t live = 0;  // taken and not given back
  std::ptrdiff_t peak = 0;  // the most that was live at a time
};

// Linking this file replaces malloc and operator new of the whole program. Has OpenSSL tell
// which blocks are its own: call it before anything else does with OpenSSL.
// False when it comes too late.
bool meterOpenSsl();

// Counts what the calling thread does between the two. Not nested, and one thread at a time.
void startHeapMeter();
HeapUse stopHeapMeter();

#endif
