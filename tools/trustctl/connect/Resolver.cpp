#include "tools/trustctl/connect/Resolver.h"

#include <netdb.h>
#include <poll.h>
#include <sys/eventfd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <future>
#include <memory>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/FileDescriptor.h"
#include "tools/trustctl/Interruption.h"

namespace {

struct Answer {
  int result = 0;  // of getaddrinfo()
  int error = 0;   // errno, where the result is EAI_SYSTEM
  std::vector<SocketAddress> addresses;
};

Answer lookUp(const std::string& host, int port, int flags) {
  addrinfo hints = {};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICSERV | flags;
  addrinfo* found = nullptr;
  Answer answer;
  answer.result = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
  answer.error = errno;
  if (answer.result != 0) {
    return answer;
  }
  for (const addrinfo* each = found; each != nullptr; each = each->ai_next) {
    SocketAddress address;
    address.length = each->ai_addrlen;
    memcpy(&address.storage, each->ai_addr, each->ai_addrlen);
    answer.addresses.push_back(address);
  }
  freeaddrinfo(found);
  return answer;
}

// Shared by who asks and the thread that looks up, whichever lives longer.
struct Lookup {
  std::promise<Answer> answer;
  FileDescriptor done{eventfd(0, EFD_CLOEXEC)};
};

// Nothing when the deadline came first.
std::optional<Answer> lookUpInThread(const std::string& host, int port, const Deadline& deadline) {
  const auto lookup = std::make_shared<Lookup>();
  if (lookup->done.get() == -1) {
    throw std::system_error(errno, std::generic_category(), "cannot look a name up");
  }
  std::thread worker;
  {
    const InterruptionBlocker inherited;  // signals are for the main thread
    worker = std::thread([lookup, host, port] {
      lookup->answer.set_value(lookUp(host, port, 0));
      const std::uint64_t one = 1;
      (void)!write(lookup->done.get(), &one, sizeof one);
    });
  }
  try {
    if (deadline.await(lookup->done.get(), POLLIN)) {
      worker.join();
      return lookup->answer.get_future().get();
    }
  } catch (...) {
    worker.detach();
    throw;
  }
  worker.detach();
  return std::nullopt;
}

[[noreturn]] void fail(const std::string& host, const std::string& why) {
  throw CommandError(ExitStatus::undecided,
                     fmt::format("cannot find the host '{}': {}", printableText(host), why));
}

[[noreturn]] void failBecause(const std::string& host, const Answer& answer) {
  const std::string reason = answer.result == EAI_SYSTEM
                                 ? std::generic_category().message(answer.error)
                                 : gai_strerror(answer.result);
  const char* advice = answer.result == EAI_AGAIN
                           ? "check this machine's network and name servers, or try again later"
                           : "check the spelling";
  fail(host, fmt::format("{}; {}", reason, advice));
}

}  // namespace

std::string SocketAddress::text() const {
  char host[NI_MAXHOST];
  const int result = getnameinfo(reinterpret_cast<const sockaddr*>(&storage), length, host,
                                 sizeof host, nullptr, 0, NI_NUMERICHOST);
  return result == 0 ? host : "(unknown address)";
}

std::vector<SocketAddress> resolve(const std::string& host, int port, const Deadline& deadline) {
  const Answer literal = lookUp(host, port, AI_NUMERICHOST);
  if (literal.result == 0) {
    return literal.addresses;
  }
  const std::optional<Answer> answer = lookUpInThread(host, port, deadline);
  if (!answer) {
    fail(host, fmt::format("the look-up of the name took longer than {} s; check this machine's "
                           "name servers, or wait longer with {}",
                           deadline.seconds(), deadline.option()));
  }
  if (answer->result != 0) {
    failBecause(host, *answer);
  }
  return answer->addresses;
}
