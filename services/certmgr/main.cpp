// trust-certmgrd: the certificate-manager service.
#include <unistd.h>

#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "services/certmgr/OperatorOptions.h"
#include "services/certmgr/ServiceOptions.h"
#include "services/certmgr/Serving.h"
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
    "Requests are evaluated by worker processes that may do little else; one that crashes or takes "
    "too long costs its own request an answer, and no other.\n\n"
    "Signals: SIGTERM and SIGINT end it after what it has begun. SIGHUP makes it forget what it "
    "knows of stores and chains.\n\n"
    "Files:\n"
    "  /var/certmgr/APPLICATION/CLASS     trust stores\n"
    "  /etc/ssl/certs                     the system's anchors\n"
    "  /run/pps/services/certmgr/control  the socket behind the control object\n\n"
    "Environment:\n"
    "  PPS_RUNTIME_DIR, XDG_RUNTIME_DIR   where the socket goes without --runtime-dir";

}  // namespace

int main(int argc, char** argv) {
  const pid_t parent = getppid();
  holdEndingSignals();
  holdHangups();
  occupyStandardFiles();
  ServiceOptions options;
  CLI::App app("Certificate-manager service: evaluates certificate chains against trust stores",
               "trust-certmgrd");
  app.set_version_flag("--version", TRUSTLIB_VERSION);
  app.footer(kManual);
  describeService(app, options);
  const std::vector<std::string> arguments(argv, argv + argc);
  std::optional<int> asked;
  const int status = runService(app, argc, argv, [&] {
    asked = runInsteadOfServing(options.operation,
                                {options.trustSources(), options.when.value_or(currentTime()),
                                 options.server.runtimeDirectory});
    if (!asked) serve(options, arguments, parent);
  });
  return asked.value_or(status);
}
