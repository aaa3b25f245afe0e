#ifndef TESTS_SUPPORT_FAILINGALLOCATION_H
#define TESTS_SUPPORT_FAILINGALLOCATION_H

// Replaces operator new of the whole program that links it: the next `count` allocations
// succeed and all later ones throw std::bad_alloc; a negative count lets all succeed again.
// For one thread.
void allowAllocations(int count);

#endif
