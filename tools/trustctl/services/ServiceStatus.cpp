#include "tools/trustctl/services/ServiceStatus.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <system_error>

#include <fmt/format.h>

#include "platform/objects/ControlObject.h"
#include "services/common/TextWriter.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/FileDescriptor.h"
#include "tools/trustctl/Interruption.h"
#include "tools/trustctl/services/ProcessFacts.h"

namespace {

using Clock = std::chrono::steady_clock;

std::string reasonOf(int error) {
  return std::generic_category().message(error);
}

bool isSet(const char* variable) {
  const char* value = secure_getenv(variable);
  return value != nullptr && *value != '\0';
}

std::string objectIn(const std::string& runtimeDirectory, const std::string& service) {
  return runtimeDirectory + "/services/" + service;
}

// No service knows such a message. One that asks the user takes only "show" for a question.
std::string harmlessRequest() {
  TextWriter request(TextWriter::Form::attributes);
  request.add("msg", "status");
  return request.text();
}

bool sendRequest(int fd, const std::string& text) {
  return send(fd, text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size());
}

// Waits until something can be read, or until the time is up.
bool awaitInput(int fd, Clock::time_point end) {
  for (;;) {
    Interruption::check();
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    pollfd waiting = {fd, POLLIN, 0};
    const int ready = poll(&waiting, 1, static_cast<int>(std::max<std::int64_t>(0, left.count())));
    if (ready > 0) {
      return true;
    }
    if (ready == 0) {
      return false;
    }
    if (errno != EINTR) {
      throw CommandError(ExitStatus::undecided,
                         "cannot wait for a service: " + reasonOf(errno) + "; try again");
    }
  }
}

void fail(ServiceState state, const std::string& problem, ServiceStatus* status) {
  status->state = state;
  status->problem = problem;
}

void askConnected(int fd, int timeoutSeconds, ServiceStatus* status) {
  const auto start = Clock::now();
  if (!sendRequest(fd, harmlessRequest())) {
    return fail(ServiceState::silent, "it takes no request: " + reasonOf(errno), status);
  }
  if (!awaitInput(fd, start + std::chrono::seconds(timeoutSeconds))) {
    return fail(ServiceState::silent,
                fmt::format("it did not answer within {} second{}", timeoutSeconds,
                            timeoutSeconds == 1 ? "" : "s"),
                status);
  }
  const auto taken =
      std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count();
  char answer[256];
  if (read(fd, answer, sizeof answer) <= 0) {
    return fail(ServiceState::silent, "it closed the connection without an answer", status);
  }
  status->state = ServiceState::answering;
  status->answerMicroseconds = static_cast<int>(taken);
}

std::optional<ServicePeer> peerOf(int fd) {
  ucred peer = {};
  socklen_t length = sizeof peer;
  if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0 || peer.pid <= 0) {
    return std::nullopt;  // not of this machine's processes that are seen here
  }
  return ServicePeer{peer.pid, nameOfUser(peer.uid), programOfProcess(peer.pid),
                     startOfProcess(peer.pid)};
}

void describeRefusal(int error, ServiceStatus* status) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return fail(ServiceState::absent, "", status);
    case ECONNREFUSED:
      return fail(ServiceState::stale, "nobody listens there any more", status);
    case EAGAIN:
      return fail(ServiceState::refused, "it has more clients waiting than it takes", status);
    case EACCES:
    case EPERM:
      return fail(ServiceState::refused, "this user may not use it", status);
    default:
      return fail(ServiceState::refused, "it cannot be reached: " + reasonOf(error), status);
  }
}

}  // namespace

std::vector<RuntimePlace> runtimePlaces() {
  char directory[4096];
  if (controlRuntimeDirectory(directory, sizeof directory) != 0) {
    throw CommandError(ExitStatus::undecided,
                       "the path of the runtime directory is too long; check PPS_RUNTIME_DIR");
  }
  const bool own = isSet("PPS_RUNTIME_DIR");
  const bool users = isSet("XDG_RUNTIME_DIR");
  std::vector<RuntimePlace> places = {{directory, own     ? "PPS_RUNTIME_DIR"
                                                  : users ? "XDG_RUNTIME_DIR"
                                                          : "default"}};
  if (own && users) {
    places.push_back({std::string(secure_getenv("XDG_RUNTIME_DIR")) + "/pps", "XDG_RUNTIME_DIR"});
  }
  if (own || users) {
    places.push_back({"/run/pps", "default"});
  }
  return places;
}

ServiceStatus askService(const std::string& name, const std::string& runtimeDirectory,
                         int timeoutSeconds) {
  const std::string directory = objectIn(runtimeDirectory, name);
  ServiceStatus status;
  status.object = directory + "/" + kControlSocketName;
  const FileDescriptor service(connectControlSocket(directory.c_str(), O_CLOEXEC | O_NONBLOCK));
  if (service.get() == -1) {
    describeRefusal(errno, &status);
    return status;
  }
  status.peer = peerOf(service.get());
  askConnected(service.get(), timeoutSeconds, &status);
  return status;
}
