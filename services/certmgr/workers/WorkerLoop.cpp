#include "services/certmgr/workers/WorkerLoop.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>

#include "services/certmgr/workers/WorkerMessage.h"

void answerMessages(int fd, const ControlServer::Handler& handler,
                    const std::function<void()>& reload) {
  std::string bytes(WorkerMessage::kMaxBytes, '\0');
  std::uint64_t generation = 0;
  for (;;) {
    const ssize_t length = ::recv(fd, bytes.data(), bytes.size(), 0);
    if (length < 0 && errno == EINTR) continue;
    if (length <= 0) return;
    const WorkerMessage message =
        WorkerMessage::decode({bytes.data(), static_cast<std::size_t>(length)});
    if (message.generation != generation) reload();
    generation = message.generation;
    const std::string answer = answerWith(handler, message.request);
    if (::send(fd, answer.data(), answer.size(), MSG_NOSIGNAL) < 0) return;
  }
}
