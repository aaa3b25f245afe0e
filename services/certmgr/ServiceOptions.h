#ifndef SERVICES_CERTMGR_SERVICEOPTIONS_H
#define SERVICES_CERTMGR_SERVICEOPTIONS_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/objects/ControlServer.h"
#include "services/certmgr/Evaluator.h"
#include "services/certmgr/OperatorOptions.h"
#include "services/certmgr/stores/StoreFiles.h"

namespace CLI {
class App;
}

// What the command line says of serving.
struct ServiceOptions {
  ServiceOptions();

  // Those that were named, and the system's anchors where they count.
  TrustSources trustSources() const;

  TrustSources trust;
  std::string systemAnchors = "/etc/ssl/certs";
  bool noSystemAnchors = false;
  std::optional<std::int64_t> when;
  ControlServerOptions server;
  std::chrono::seconds deadline{20};
  bool inProcess = false;
  bool noSandbox = false;
  bool ephemeral = false;
  EvaluatorOptions evaluation;
  OperatorOptions operation;
  int workerFd = -1;  // this process is a worker and speaks through it; -1: it is the service
};

// Adds the options to a command line that fills `options`, which must live as long as the app.
void describeService(CLI::App& app, ServiceOptions& options);

#endif
