#ifndef TOOLS_TRUSTCTL_SERVICECHILD_H
#define TOOLS_TRUSTCTL_SERVICECHILD_H

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "tools/trustctl/FileDescriptor.h"
#include "tools/trustctl/ServiceProgram.h"

// One service as a child process that a signal to this program ends too. Main thread only.
class ServiceChild {
 public:
  // Finds the program and has `prepare` return its arguments, not before everything else that
  // can fail is done; starts it and returns when it listens. Throws CommandError (undecided)
  // with the service's own reason when it cannot be started, and Interrupted on a signal.
  ServiceChild(const ServiceProgram& program,
               const std::function<std::vector<std::string>()>& prepare);

  // Ends the service and waits for it.
  ~ServiceChild();

  ServiceChild(const ServiceChild&) = delete;
  ServiceChild& operator=(const ServiceChild&) = delete;

 private:
  void awaitReadiness(int readyFd) const;
  std::string lastWords() const;
  void stop() noexcept;

  ServiceProgram program_;
  FileDescriptor errors_;  // an unnamed file with what the service says
  pid_t child_ = 0;
};

#endif
