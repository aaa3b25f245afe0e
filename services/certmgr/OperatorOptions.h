#ifndef SERVICES_CERTMGR_OPERATOROPTIONS_H
#define SERVICES_CERTMGR_OPERATOROPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "services/certmgr/records/RequestRecords.h"
#include "services/certmgr/stores/StoreFiles.h"

namespace CLI {
class App;
}

// What whoever runs the service may ask of it beside serving.
struct OperatorOptions {
  std::optional<LogLevel> logLevel;  // nothing: as fits what is run
  int countersFd = -1;               // of another process of the same service; -1: new ones
  std::string checkStore;            // a directory to tell of instead of serving; or empty
  std::vector<std::string> explain;  // files of a chain to judge instead of serving; or none
  std::string application = "common";
  std::string className = "user_trusted";
};

// What of the service's own options a verdict depends on.
struct JudgingOptions {
  TrustSources trust;
  std::int64_t now = 0;          // seconds since 1970
  std::string runtimeDirectory;  // empty: where clients of this environment look
};

void describeOperatorOptions(CLI::App& app, OperatorOptions& options);

// The log and the counters of a service. A private one (`isPrivate`) runs on somebody else's
// stderr, and says there by default only what goes wrong. Takes options.countersFd over, and has
// this process ignore SIGPIPE. Throws std::runtime_error with the reason.
RequestRecords makeRecords(const OperatorOptions& options, bool isPrivate);

// Does what was asked for in place of serving, and returns the program's exit status: 0 nothing
// is wrong, 1 something is, 2 it could not be looked at (then with a line on stderr). Nothing
// when the service is to serve.
std::optional<int> runInsteadOfServing(const OperatorOptions& options,
                                       const JudgingOptions& judging);

#endif
