#ifndef TESTS_SUPPORT_SENDSIGNAL_H
#define TESTS_SUPPORT_SENDSIGNAL_H

#include <sys/types.h>

#include <csignal>
#include <stdexcept>

// kill() for one process. A number that stands for more than one, such as that of a process that
// could not be started, would stop or end all that runs on the machine: std::logic_error.
inline int sendSignal(pid_t process, int signal) {
  if (process <= 1) throw std::logic_error("there is no process to send a signal to");
  return ::kill(process, signal);
}

#endif
