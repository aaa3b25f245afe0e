#include "tests/tools/SilentService.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>

SilentService::SilentService(const std::string& runtimeDirectory)
    : listener_(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0)) {
  const std::string directory = runtimeDirectory + "/services/certmgr";
  std::filesystem::create_directories(directory);
  const std::string path = directory + "/control";
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    throw std::runtime_error("the path of the socket is too long: " + path);
  }
  memcpy(address.sun_path, path.c_str(), path.size() + 1);
  if (bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == -1 ||
      listen(listener_, 8) == -1) {
    throw std::runtime_error("cannot listen on " + path);
  }
}

SilentService::~SilentService() {
  close(listener_);
  if (client_ != -1) {
    close(client_);
  }
}

std::string SilentService::awaitRequest() {
  for (;;) {
    const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client == -1) {
      throw std::runtime_error("no client came");
    }
    char text[65536];
    const ssize_t length = read(client, text, sizeof text);
    if (length > 0) {
      client_ = client;
      return {text, static_cast<std::size_t>(length)};
    }
    close(client);
  }
}
