#ifndef SERVICES_COMMON_SERVICEMAIN_H
#define SERVICES_COMMON_SERVICEMAIN_H

#include <sys/types.h>

#include <csignal>
#include <functional>
#include <string>

namespace CLI {
class App;
}

// What the main programs of the services do alike.

// Holds SIGTERM and SIGINT back in this thread and those it starts, until the server handles
// them, so that an early end cleans up as well.
void holdEndingSignals();

// The same for SIGHUP, in a service that reloads on it.
void holdHangups();

// Takes back both, for what a service's program does in place of serving.
void releaseSignals();

// Opens /dev/null in place of standard input, output and error where they are closed: files that
// are opened later must not pass for them.
void occupyStandardFiles();

// Parses the command line and serves. Returns the program's exit status: 0 stopped as asked (or
// told its help or version), 1 could not start or go on, 2 wrong use; the last two with a line
// on stderr that starts with the program's name.
int runService(CLI::App& app, int argc, char** argv, const std::function<void()>& serve);

// For an option that takes a descriptor: why `text` names none that is open; empty when it
// does. One that nobody opened would mean that somebody waits in vain.
std::string whyNoDescriptor(const std::string& text);

// Ends this process by `signal` when the thread of `parent` that started it ends: a private
// service of one process must not outlive it. Throws std::runtime_error when it cannot, or the
// parent has gone already.
void followParent(pid_t parent, int signal = SIGTERM);

#endif
