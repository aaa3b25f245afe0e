#ifndef TOOLS_TRUSTCTL_PRIVATESERVICES_H
#define TOOLS_TRUSTCTL_PRIVATESERVICES_H

#include <memory>
#include <string>

#include "tools/trustctl/ServiceChild.h"
#include "tools/trustctl/ServiceSettings.h"

// True when a service of that name, "certmgr" or "dialog", already runs for this user or
// machine. Throws CommandError (undecided) when it is there but cannot be reached.
bool serviceIsRunning(const std::string& name);

// Services of this run's own: child processes and a directory that only this user may enter, all
// gone when the object goes. While it lives, PPS_RUNTIME_DIR leads the library to them, and to
// the running ones in place of those that were not started. One at a time, main thread only.
class PrivateServices {
 public:
  PrivateServices() = default;
  ~PrivateServices();

  PrivateServices(const PrivateServices&) = delete;
  PrivateServices& operator=(const PrivateServices&) = delete;

  // Both return when the service answers; each may be called once, the first one first. Throw
  // CommandError (undecided) when the service cannot be started, with its own reason, and
  // Interrupted on a signal.

  // From then on HOME is that directory too, so that the library's temporary files are in it:
  // should this program be killed, the service clears up.
  void startCertificateManager(const ServiceSettings& settings);
  void startDialog(const DialogSettings& settings);

 private:
  void makeDirectory();
  void leadToRunning(const std::string& name) const;

  std::string directory_;
  std::string running_;  // where the services are that run already
  std::unique_ptr<ServiceChild> certificateManager_;
  std::unique_ptr<ServiceChild> dialog_;
};

#endif
