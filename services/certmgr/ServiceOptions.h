#ifndef SERVICES_CERTMGR_SERVICEOPTIONS_H
#define SERVICES_CERTMGR_SERVICEOPTIONS_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/objects/ControlServer.h"
#include "services/certmgr/TrustStores.h"

namespace CLI {
class App;
}

// What the command line says of serving.
struct ServiceOptions {
  ServiceOptions();

  TrustSources trust;
  std::string systemAnchors = "/etc/ssl/certs";
  bool noSystemAnchors = false;
  std::optional<std::int64_t> when;
  ControlServerOptions server;
  std::chrono::seconds deadline{20};
  bool inProcess = false;
  bool noSandbox = false;
  bool ephemeral = false;
  int workerFd = -1;  // this process is a worker and speaks through it; -1: it is the service

  // What `trust` says, joined with the system's anchors where they are wanted.
  TrustSources sources() const;
  // Where the files of ChainFiles are. Throws std::runtime_error when its path is too long.
  std::string chainDirectory() const;
  static std::string chainDirectoryIn(const std::string& runtimeDirectory);
};

// Adds the options to a command line that fills `options`, which must live as long as the app.
void describeService(CLI::App& app, ServiceOptions& options);

#endif
