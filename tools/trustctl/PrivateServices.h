#ifndef TOOLS_TRUSTCTL_PRIVATESERVICES_H
#define TOOLS_TRUSTCTL_PRIVATESERVICES_H

#include <sys/types.h>

#include <string>

#include "tools/trustctl/ServiceSettings.h"

// True when certificate services already run for this user or machine. Throws CommandError
// (undecided) when they are there but cannot be reached.
bool servicesAreRunning();

// Certificate services of this run's own: a child process and a directory that only this user
// may enter, both gone when the object goes. While it lives, PPS_RUNTIME_DIR leads the library
// to them, and HOME to that directory, so that the library's temporary files are in it too:
// should this program be killed, the child clears up. One at a time, main thread only.
class PrivateServices {
 public:
  // Returns when the services answer. Throws CommandError (undecided) when they cannot be
  // started, with the service's own reason, and Interrupted on a signal.
  explicit PrivateServices(const ServiceSettings& settings);
  ~PrivateServices();

  PrivateServices(const PrivateServices&) = delete;
  PrivateServices& operator=(const PrivateServices&) = delete;

 private:
  void makeDirectory();
  void start(const ServiceSettings& settings);
  void stop() noexcept;

  std::string directory_;
  pid_t child_ = 0;
};

#endif
