// Control objects seen from a client: how their names map to sockets, and how
// one is opened. Usable inside open() itself: no allocation, no exception, no
// C++ runtime, no global state but the environment.
#ifndef PLATFORM_OBJECTS_CONTROLOBJECT_H
#define PLATFORM_OBJECTS_CONTROLOBJECT_H

#include <stddef.h>

// The name of the socket inside a service's directory.
inline constexpr const char* kControlSocketName = "control";

// Writes the runtime directory into `out`: $PPS_RUNTIME_DIR, else
// $XDG_RUNTIME_DIR/pps, else /run/pps; an empty variable counts as unset, and a
// program that runs with raised privileges ignores both.
// Returns 0, or -1 with errno ENAMETOOLONG.
int controlRuntimeDirectory(char* out, size_t size);

// True for a name that a service may bear: 1 to 255 bytes, no slash, no
// control byte, no '?', and neither "." nor "..".
bool isControlServiceName(const char* name, size_t length);

// Writes the directory of the socket that stands for `path`
// ("/pps/services/NAME/control", options after a '?') into `out`:
// RUNTIME/services/NAME. Nothing is looked up.
// Returns 0, or -1 with errno: ENOENT when `path` names no control object
// (other places, "..", doubled slashes), ENAMETOOLONG when `out` is too small.
int controlSocketDirectory(const char* path, char* out, size_t size);

// Opens the control object behind `path` for one request and one answer.
// `flags` are those of open(); O_CLOEXEC and O_NONBLOCK are heeded.
// Returns a connected descriptor that the caller closes, or -1 with errno set;
// ENOENT means that no service listens there, as for a missing object; EAGAIN
// that the service has more clients waiting than it holds.
// Never blocks and never retries. Safe to call from several threads.
int openControlObject(const char* path, int flags = 0);

// Connects to the socket "control" in `directory`, however long its path is.
// Results and flags as for openControlObject, but errno is the system's own:
// ECONNREFUSED for the socket of a service that died.
int connectControlSocket(const char* directory, int flags);

#endif
