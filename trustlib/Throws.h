#ifndef TRUSTLIB_THROWS_H
#define TRUSTLIB_THROWS_H

// TRUSTLIB_THROWS(types...) names every exception that may leave an operation.
//
// The library itself is built as C++14 with the list compiled in, so that any other
// exception (std::bad_alloc among them) ends the process at the operation it tries to
// leave. C++17 removed such lists from the language, so clients see plain declarations.
#if defined(TRUSTLIB_BUILDING)
#define TRUSTLIB_THROWS(...) throw(__VA_ARGS__)
#else
#define TRUSTLIB_THROWS(...)
#endif

#endif
