// trust-dialogd: the dialog service.
#include <pthread.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include <CLI/CLI.hpp>

#include "platform/objects/ControlServer.h"
#include "services/common/ServiceMain.h"
#include "services/dialog/DialogService.h"
#include "services/dialog/FaceProgram.h"
#include "services/dialog/PolicyFace.h"
#include "services/dialog/TerminalFace.h"
#include "services/dialog/model/DialogModelCodec.h"

namespace {

constexpr int kMaxTimeoutSeconds = 365 * 24 * 60 * 60;
const std::string kPolicyPrefix = "policy:";

constexpr const char* kManual =
    "Programs with the library ask this service whether the user trusts a certificate chain in "
    "spite of its warnings, through the control object /pps/services/dialog/control. It shows one "
    "dialog at a time to a user, on the terminal of the program that asks, and answers what was "
    "chosen. A client that goes away takes its dialog along. What is not answered is declined.\n\n"
    "The faces: terminal asks the user; policy:decline, policy:once and policy:always answer for "
    "machines without one.\n\n"
    "Examples:\n"
    "  trust-dialogd\n"
    "  trust-dialogd --face policy:decline\n\n"
    "Signals: SIGTERM and SIGINT end it; open dialogs are declined.\n\n"
    "Files:\n"
    "  ~/vallorin/certexcept             earlier decisions of the user who is asked\n"
    "  /run/pps/services/dialog/control  the socket behind the control object\n\n"
    "Environment:\n"
    "  PPS_RUNTIME_DIR, XDG_RUNTIME_DIR  where the socket goes without --runtime-dir";

struct Options {
  ControlServerOptions server;
  DialogSettings dialog;
  std::string face = "terminal";
  std::string faceProgram;
  bool followParent = false;
};

void describe(CLI::App& app, Options& options) {
  app.set_version_flag("--version", TRUSTLIB_VERSION);
  app.add_option("--face", options.face,
                 "Who is asked: the user, on a terminal, or nobody and the answer is fixed: "
                 "policy:decline, policy:once, policy:always")
      ->type_name("FACE")
      ->check(CLI::IsMember({"terminal", "policy:decline", "policy:once", "policy:always"})
                  .description(""))
      ->capture_default_str();
  app.add_option("--face-program", options.faceProgram,
                 "Program that draws on the terminal, in place of trust-dialog-terminal")
      ->type_name("PROGRAM");
  app.add_option("--store", options.dialog.store,
                 "Directory of earlier exceptions, in place of the asking user's own")
      ->type_name("DIR");
  app.add_option("--timeout", options.dialog.timeoutSeconds,
                 "Seconds after which a dialog is declined; 0 for never")
      ->type_name("SECONDS")
      ->check(CLI::Range(0, kMaxTimeoutSeconds).description(""))
      ->capture_default_str();
  app.add_option("--runtime-dir", options.server.runtimeDirectory,
                 "Where the socket goes (PPS_RUNTIME_DIR, XDG_RUNTIME_DIR/pps, /run/pps)")
      ->type_name("DIR");
  app.add_option("--ready-fd", options.server.readyFd,
                 "Descriptor that gets the line READY when the service listens")
      ->type_name("NUMBER")
      ->check(whyNoDescriptor);
  app.add_flag("--follow-parent", options.followParent, "End with the parent process");
  app.footer(kManual);
  app.add_flag("--verbose", options.dialog.verbose, "Tell on stderr who asks and is answered");
}

std::unique_ptr<const Face> makeFace(const Options& options) {
  for (const DialogChoice choice :
       {DialogChoice::decline, DialogChoice::once, DialogChoice::always}) {
    if (options.face == kPolicyPrefix + dialogChoiceWord(choice)) {
      return std::make_unique<PolicyFace>(choice);
    }
  }
  return std::make_unique<TerminalFace>(findFaceProgram(options.faceProgram));
}

// A request holds its worker until the user has chosen, so there are many. Idle ones cost next
// to nothing but the room for their stacks, which small machines have not got at the usual size.
void limitThreadStacks() {
  constexpr std::size_t kStackBytes = 1024 * 1024;
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, kStackBytes);
  pthread_setattr_default_np(&attributes);
  pthread_attr_destroy(&attributes);
}

// What this process may have been started with must not change what it does.
void setUpProcess() {
  occupyStandardFiles();
  (void)std::signal(SIGCHLD, SIG_DFL);  // else nobody could tell how a face ended
  (void)std::signal(SIGPIPE, SIG_IGN);  // who reads our messages may go
  (void)std::signal(SIGTTOU, SIG_IGN);  // a terminal is restored from the background, too
}

void serve(Options options, pid_t parent) {
  if (options.followParent) followParent(parent);
  DialogService service(options.dialog, makeFace(options));
  options.server.service = "dialog";
  limitThreadStacks();
  options.server.workers = static_cast<unsigned>(options.server.maxConnections);
  ControlServer server(options.server,
                       [&](const ControlRequest& request) { return service.answer(request); });
  server.run();
}

}  // namespace

int main(int argc, char** argv) {
  const pid_t parent = getppid();
  holdEndingSignals();
  setUpProcess();
  Options options;
  CLI::App app("Dialog service: asks the user whether to trust certificates", "trust-dialogd");
  describe(app, options);
  return runService(app, argc, argv, [&] { serve(std::move(options), parent); });
}
