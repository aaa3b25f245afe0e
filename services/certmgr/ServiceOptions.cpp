#include "services/certmgr/ServiceOptions.h"

#include <algorithm>
#include <thread>
#include <utility>

#include <CLI/CLI.hpp>

#include "services/common/FileSystem.h"
#include "services/common/ServiceMain.h"
#include "services/common/TimeText.h"

namespace {

constexpr unsigned kFewestWorkers = 2;  // so that one that is busy for long is not all there is
constexpr unsigned kMostWorkersUnasked = 16;
constexpr int kMaxDeadlineSeconds = 24 * 60 * 60;
constexpr int kMaxVerdictAgeSeconds = 24 * 60 * 60;

std::int64_t timeOf(const std::string& text) {
  if (const auto moment = parseTime(text)) return *moment;
  throw CLI::ValidationError("--verification-time",
                             "not a time: \"" + text + "\" (2026-02-02T00:00:01Z or @SECONDS)");
}

std::string whyNoFile(const std::string& path) {
  if (isDirectory(path)) return "a directory and not a file: " + path;
  return pathExists(path) ? "" : "no such file: " + path;
}

std::string whyNoDirectory(const std::string& path) {
  if (isDirectory(path)) return "";
  return (pathExists(path) ? "a file and not a directory: " : "no such directory: ") + path;
}

// A check that is made once, where the service starts: a worker gets the same command line when
// files may have gone since and the one descriptor is closed.
template <class Check>
std::function<std::string(const std::string&)> atStart(const ServiceOptions& options, Check check) {
  return [&options, check = std::move(check)](std::string text) {
    return options.workerFd != -1 ? std::string() : check(text);
  };
}

void describeTrust(CLI::App& app, ServiceOptions& options) {
  app.add_option("--root", options.trust.root, "Directory of the trust stores")
      ->type_name("DIR")
      ->capture_default_str();
  app.add_option("--system-anchors", options.systemAnchors,
                 "Hashed directory joined with every store")
      ->type_name("DIR")
      ->capture_default_str();
  app.add_flag("--no-system-anchors", options.noSystemAnchors, "Join nothing with the stores");
  app.add_option("--cafile", options.trust.files, "PEM file with further anchors")
      ->type_name("FILE")
      ->check(atStart(options, whyNoFile));
  app.add_option("--capath", options.trust.plainDirectories,
                 "Directory of PEM files with further anchors, whatever their names")
      ->type_name("DIR")
      ->check(atStart(options, whyNoDirectory));
  app.add_option("--crlfile", options.trust.revocationFiles, "PEM file with revocation lists")
      ->type_name("FILE")
      ->check(atStart(options, whyNoFile));
  app.add_option_function<std::string>(
         "--verification-time",
         [&options](const std::string& text) { options.when = timeOf(text); },
         "Judge at this time (RFC 3339, or @SECONDS) and not at the current one")
      ->type_name("TIME");
}

void describeMemory(CLI::App& app, ServiceOptions& options) {
  app.add_option_function<int>(
         "--verdict-age",
         [&options](int seconds) {
           options.evaluation.verdictAge = std::chrono::seconds(seconds);
           if (seconds == 0) options.evaluation.verdictBytes = 0;
         },
         "The longest that a verdict is remembered; 0: every chain is judged anew")
      ->type_name("SECONDS")
      ->check(CLI::Range(0, kMaxVerdictAgeSeconds).description(""))
      ->default_str(std::to_string(options.evaluation.verdictAge.count()));
}

void describeProcesses(CLI::App& app, ServiceOptions& options) {
  app.add_option("--workers", options.server.workers,
                 "Processes that evaluate, each one request at a time (one a processor, from 2 "
                 "to 16)")
      ->type_name("COUNT")
      ->check(CLI::Range(1, 256).description(""));
  app.add_option_function<int>(
         "--deadline",
         [&options](int seconds) { options.deadline = std::chrono::seconds(seconds); },
         "Seconds after which a request is answered with an error and its worker is replaced")
      ->type_name("SECONDS")
      ->check(CLI::Range(1, kMaxDeadlineSeconds).description(""))
      ->default_str(std::to_string(options.deadline.count()));
  app.add_flag("--in-process", options.inProcess,
               "Evaluate in the service's own process: no deadline, and a crash ends the service");
  app.add_flag("--no-sandbox", options.noSandbox,
               "Do without the restrictions that the processes put on themselves");
}

}  // namespace

ServiceOptions::ServiceOptions() {
  server.service = "certmgr";
  server.workers =
      std::clamp(std::thread::hardware_concurrency(), kFewestWorkers, kMostWorkersUnasked);
}

TrustSources ServiceOptions::trustSources() const {
  TrustSources sources = trust;
  if (!noSystemAnchors) sources.hashedDirectories.push_back(systemAnchors);
  return sources;
}

void describeService(CLI::App& app, ServiceOptions& options) {
  // The first, since what follows depends on it.
  app.add_option("--worker-fd", options.workerFd)->check(whyNoDescriptor)->group("");
  describeTrust(app, options);
  describeMemory(app, options);
  app.add_option("--runtime-dir", options.server.runtimeDirectory,
                 "Where the socket goes (PPS_RUNTIME_DIR, XDG_RUNTIME_DIR/pps, /run/pps)")
      ->type_name("DIR");
  describeProcesses(app, options);
  describeOperatorOptions(app, options.operation);
  app.add_option("--ready-fd", options.server.readyFd,
                 "Descriptor that gets the line READY when the service listens")
      ->type_name("NUMBER")
      ->check(atStart(options, whyNoDescriptor));
  app.add_flag("--ephemeral", options.ephemeral,
               "End with the parent process, and remove the whole --runtime-dir, empty now, at "
               "the end; evaluates in its own process")
      ->needs("--runtime-dir");
}
