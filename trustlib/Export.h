#ifndef TRUSTLIB_EXPORT_H
#define TRUSTLIB_EXPORT_H

// Marks what the shared library shows to the outside. Everything else is hidden.
#if defined(__GNUC__)
#define TRUSTLIB_EXPORT __attribute__((visibility("default")))
#else
#define TRUSTLIB_EXPORT
#endif

#endif
