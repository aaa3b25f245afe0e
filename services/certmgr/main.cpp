// trust-certmgrd: the certificate-manager service.
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include <CLI/CLI.hpp>

#include "platform/objects/ControlServer.h"
#include "services/certmgr/CertDetailsService.h"
#include "services/certmgr/OperatorOptions.h"
#include "services/common/ServiceMain.h"
#include "services/common/TimeText.h"

namespace {

constexpr const char* kManual =
    "Programs with the library ask this service about certificate chains, through the control "
    "object /pps/services/certmgr/control. It answers with everything that is wrong with a chain, "
    "not with the first fault alone.\n\n"
    "A request names an application and a class; its trust store is the directory "
    "ROOT/APPLICATION/CLASS, in lower case, with files named as openssl rehash names them. Every "
    "certificate in it is an anchor. A store follows its directory: no restart is needed. It takes "
    "over a socket from systemd where there is one.\n\n"
    "Examples:\n"
    "  trust-certmgrd\n"
    "  trust-certmgrd --runtime-dir /run/user/1000/pps --root /srv/certmgr\n\n"
    "Signals: SIGTERM and SIGINT end it after what it has begun.\n\n"
    "Files:\n"
    "  /var/certmgr/APPLICATION/CLASS     trust stores\n"
    "  /etc/ssl/certs                     the system's anchors\n"
    "  /run/pps/services/certmgr/control  the socket behind the control object\n\n"
    "Environment:\n"
    "  PPS_RUNTIME_DIR, XDG_RUNTIME_DIR   where the socket goes without --runtime-dir";

struct Options {
  TrustSources trust;
  std::string systemAnchors = "/etc/ssl/certs";
  bool noSystemAnchors = false;
  std::optional<std::int64_t> when;
  ControlServerOptions server;
  bool ephemeral = false;
  OperatorOptions operation;
};

std::int64_t timeOf(const std::string& text) {
  if (const auto moment = parseTime(text)) return *moment;
  throw CLI::ValidationError("--verification-time",
                             "not a time: \"" + text + "\" (2026-02-02T00:00:01Z or @SECONDS)");
}

void describe(CLI::App& app, Options& options) {
  app.set_version_flag("--version", TRUSTLIB_VERSION);
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
      ->check(CLI::Validator(CLI::ExistingFile).description(""));
  app.add_option("--capath", options.trust.plainDirectories,
                 "Directory of PEM files with further anchors, whatever their names")
      ->type_name("DIR")
      ->check(CLI::Validator(CLI::ExistingDirectory).description(""));
  app.add_option("--crlfile", options.trust.revocationFiles, "PEM file with revocation lists")
      ->type_name("FILE")
      ->check(CLI::Validator(CLI::ExistingFile).description(""));
  app.add_option_function<std::string>(
         "--verification-time",
         [&options](const std::string& text) { options.when = timeOf(text); },
         "Judge at this time (RFC 3339, or @SECONDS) and not at the current one")
      ->type_name("TIME");
  app.add_option("--runtime-dir", options.server.runtimeDirectory,
                 "Where the socket goes (PPS_RUNTIME_DIR, XDG_RUNTIME_DIR/pps, /run/pps)")
      ->type_name("DIR");
  app.add_option("--workers", options.server.workers,
                 "Requests that are evaluated at once (one a processor)")
      ->type_name("COUNT")
      ->check(CLI::Range(1, 256).description(""));
  app.add_option("--ready-fd", options.server.readyFd,
                 "Descriptor that gets the line READY when the service listens")
      ->type_name("NUMBER")
      ->check(whyNoDescriptor);
  describeOperatorOptions(app, options.operation);
  app.footer(kManual);
  app.add_flag(
         "--ephemeral", options.ephemeral,
         "End with the parent process, and remove the whole --runtime-dir, empty now, at the end")
      ->needs("--runtime-dir");
}

// Removes the runtime directory of an ephemeral service, however it ends. Only a directory
// that starts out empty is taken: a mistyped one must not cost anybody his files.
class RemovedAtEnd {
 public:
  explicit RemovedAtEnd(std::string directory) : directory_(std::move(directory)) {
    std::error_code missing;
    const std::filesystem::directory_iterator content(directory_, missing);
    if (!directory_.empty() && !missing && content != std::filesystem::directory_iterator()) {
      throw std::runtime_error("--ephemeral removes its --runtime-dir, and " + directory_ +
                               " is not empty; name an empty or a new one");
    }
  }
  ~RemovedAtEnd() {
    std::error_code ignored;
    if (!directory_.empty()) std::filesystem::remove_all(directory_, ignored);
  }
  RemovedAtEnd(const RemovedAtEnd&) = delete;
  RemovedAtEnd& operator=(const RemovedAtEnd&) = delete;

 private:
  std::string directory_;
};

void joinSystemAnchors(Options& options) {
  if (!options.noSystemAnchors) options.trust.hashedDirectories.push_back(options.systemAnchors);
}

void serve(Options options, pid_t parent) {
  const RemovedAtEnd cleanup(options.ephemeral ? options.server.runtimeDirectory : "");
  if (options.ephemeral) followParent(parent);
  requireUsable(options.trust);

  options.server.service = "certmgr";
  // Made once the server holds its place, so that a second service touches no file.
  std::unique_ptr<CertDetailsService> service;
  ControlServer server(options.server,
                       [&](const ControlRequest& request) { return service->answer(request); });
  service = std::make_unique<CertDetailsService>(
      options.trust, server.runtimeDirectory() + "/services/certmgr/chain", options.when,
      makeRecords(options.operation, options.ephemeral));
  server.run();
  service.reset();
}

}  // namespace

int main(int argc, char** argv) {
  const pid_t parent = getppid();
  holdEndingSignals();
  Options options;
  CLI::App app("Certificate-manager service: evaluates certificate chains against trust stores",
               "trust-certmgrd");
  describe(app, options);
  std::optional<int> asked;
  const int status = runService(app, argc, argv, [&] {
    joinSystemAnchors(options);
    asked = runInsteadOfServing(
        options.operation,
        {options.trust, options.when.value_or(currentTime()), options.server.runtimeDirectory});
    if (!asked) serve(std::move(options), parent);
  });
  return asked.value_or(status);
}
