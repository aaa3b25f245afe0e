#include "services/common/ServiceMain.h"

#include <fcntl.h>
#include <limits.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <initializer_list>
#include <stdexcept>

#include <CLI/CLI.hpp>

#include "services/common/CommandText.h"

namespace {

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;
constexpr int kManualSection = 8;
constexpr std::size_t kColumns = 80;

void maskSignals(int how, std::initializer_list<int> signals) {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : signals) sigaddset(&set, signal);
  pthread_sigmask(how, &set, nullptr);
}

int tell(const std::string& text) {
  (void)fputs(text.c_str(), stdout);
  return fflush(stdout) == 0 ? 0 : kExitFailure;
}

int failWith(const CLI::App& app, const std::exception& failure, int status) {
  (void)fprintf(stderr, "%s: %s\n", app.get_name().c_str(), failure.what());
  return status;
}

}  // namespace

void holdEndingSignals() {
  maskSignals(SIG_BLOCK, {SIGTERM, SIGINT});
}

void holdHangups() {
  maskSignals(SIG_BLOCK, {SIGHUP});
}

void releaseSignals() {
  maskSignals(SIG_UNBLOCK, {SIGTERM, SIGINT, SIGHUP});
}

void occupyStandardFiles() {
  int fd = 0;
  while (fd >= 0 && fd <= STDERR_FILENO) fd = open("/dev/null", O_RDWR);
  if (fd > STDERR_FILENO) close(fd);
}

int runService(CLI::App& app, int argc, char** argv, const std::function<void()>& serve) {
  app.footer(app.get_footer() +
             "\n\nExit status: 0 stopped as asked, 1 could not start or go on, 2 wrong use.");
  bool wantsManual = false;  // for the build, which makes the page of it
  app.add_flag("--manual", wantsManual)->group("");
  try {
    app.parse(argc, argv);
    if (wantsManual) {
      return tell(manualPage(describeCommand(app, app.get_name()), kManualSection,
                             "trustlib " + app.version(), {"trustctl(1)"}));
    }
  } catch (const CLI::CallForHelp&) {
    return tell(helpText(describeCommand(app, app.get_name()), kColumns));
  } catch (const CLI::Success& asked) {
    return app.exit(asked);
  } catch (const CLI::ParseError& wrong) {
    return failWith(app, wrong, kExitUsage);
  }
  try {
    serve();
    return 0;
  } catch (const std::exception& failure) {
    return failWith(app, failure, kExitFailure);
  }
}

std::string whyNoDescriptor(const std::string& text) {
  const long number = std::strtol(text.c_str(), nullptr, 10);
  const bool open =
      number >= 0 && number <= INT_MAX && fcntl(static_cast<int>(number), F_GETFD) != -1;
  return open ? "" : "descriptor " + text + " is not open";
}

void followParent(pid_t parent, int signal) {
  if (prctl(PR_SET_PDEATHSIG, signal) != 0) throw std::runtime_error("cannot watch the parent");
  if (getppid() != parent) throw std::runtime_error("the parent has gone");
}
