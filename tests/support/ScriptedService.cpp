#include "tests/support/ScriptedService.h"

#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

namespace {

void check(bool success, const char* what) {
  if (!success) {
    throw std::system_error(errno, std::generic_category(), what);
  }
}

int listenAt(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  errno = ENAMETOOLONG;
  check(path.length() < sizeof(address.sun_path), "socket path");
  memcpy(address.sun_path, path.c_str(), path.length() + 1);
  const int fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
  check(fd != -1, "socket");
  check(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0, "bind");
  check(listen(fd, SOMAXCONN) == 0, "listen");
  return fd;
}

}  // namespace

ScriptedService::ScriptedService(const std::string& runtimeDirectory, const std::string& name,
                                 Script script)
    : script(std::move(script)) {
  const std::string directory = runtimeDirectory + "/services/" + name;
  std::filesystem::create_directories(directory);
  socketPath = directory + "/control";
  listener = listenAt(socketPath);
  check(pipe(stopPipe) == 0, "pipe");
  // Signals are for the code under test: the new thread inherits a mask that takes none.
  sigset_t all;
  sigset_t previous;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &previous);
  thread = std::thread(&ScriptedService::serve, this);
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

ScriptedService::ScriptedService(const std::string& runtimeDirectory, const std::string& name,
                                 const std::string& answer)
    : ScriptedService(runtimeDirectory, name,
                      [answer](const std::string&) { return std::optional(answer); }) {}

ScriptedService::~ScriptedService() {
  close(stopPipe[1]);
  thread.join();
  close(stopPipe[0]);
  close(listener);
  for (const int client : waitingClients) {
    close(client);
  }
  unlink(socketPath.c_str());
}

std::vector<std::string> ScriptedService::requests() const {
  const std::lock_guard lock(mutex);
  return received;
}

void ScriptedService::serve() {
  for (;;) {
    std::array<pollfd, 2> events{{{listener, POLLIN, 0}, {stopPipe[0], POLLIN, 0}}};
    if (poll(events.data(), events.size(), -1) == -1 || events[1].revents != 0) {
      return;
    }
    const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (client != -1) {
      answer(client);
    }
  }
}

void ScriptedService::answer(int client) {
  std::array<char, 65536> buffer;
  const ssize_t count = read(client, buffer.data(), buffer.size());
  const std::string request(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
  {
    const std::lock_guard lock(mutex);
    received.push_back(request);
  }
  const std::optional<std::string> text = script(request);
  if (!text) {
    waitingClients.push_back(client);
    return;
  }
  if (!text->empty()) {
    send(client, text->data(), text->length(), MSG_NOSIGNAL);
  }
  close(client);
}
