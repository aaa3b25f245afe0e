#include "tools/trustctl/connect/Resolver.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/connect/ScriptedServer.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/Interruption.h"
#include "tools/trustctl/connect/Socket.h"

// Name servers of a test, for this program alone: what the real look-up would be depends on the
// machine. Its answers are made and freed as the system's are.
namespace {

addrinfo* makeAnswer(const char* address, const char* port, addrinfo* next) {
  auto* info = static_cast<addrinfo*>(calloc(1, sizeof(addrinfo)));
  auto* name = static_cast<sockaddr_in*>(calloc(1, sizeof(sockaddr_in)));
  name->sin_family = AF_INET;
  name->sin_port = htons(static_cast<std::uint16_t>(strtoul(port, nullptr, 10)));
  inet_pton(AF_INET, address, &name->sin_addr);
  info->ai_family = AF_INET;
  info->ai_socktype = SOCK_STREAM;
  info->ai_addrlen = sizeof *name;
  info->ai_addr = reinterpret_cast<sockaddr*>(name);
  info->ai_next = next;
  return info;
}

[[noreturn]] void sleepForever() {
  for (;;) {
    pause();
  }
}

}  // namespace

extern "C" int getaddrinfo(const char* host, const char* port, const addrinfo* hints,
                           addrinfo** out) {
  if ((hints->ai_flags & AI_NUMERICHOST) != 0) {
    return EAI_NONAME;
  }
  if (strcmp(host, "silent.test") == 0) {
    sleepForever();
  }
  if (strcmp(host, "interrupted.test") == 0) {
    kill(getpid(), SIGINT);
    sleepForever();
  }
  if (strcmp(host, "busy.test") == 0) {
    return EAI_AGAIN;
  }
  if (strcmp(host, "two.test") == 0) {
    *out = makeAnswer("127.0.0.2", port, makeAnswer("127.0.0.1", port, nullptr));
    return 0;
  }
  return EAI_NONAME;
}

extern "C" void freeaddrinfo(addrinfo* list) {
  while (list != nullptr) {
    addrinfo* next = list->ai_next;
    free(list->ai_addr);
    free(list);
    list = next;
  }
}

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

// The complaint about that host, which must be of the kind that says: no verdict.
std::string complaintAbout(const std::string& host, int port = 443) {
  try {
    const Socket socket(host, port, Deadline(1));
    return "connected";
  } catch (const CommandError& error) {
    EXPECT_EQ(ExitStatus::undecided, error.status());
    return error.what();
  }
}

int portOf(const std::string& target) {
  return std::stoi(target.substr(target.rfind(':') + 1));
}

TEST(Resolver, LeavesALookUpThatTakesTooLong) {
  EXPECT_THAT(complaintAbout("silent.test"),
              HasSubstr("the look-up of the name took longer than 1 s"));
}

// In a process of its own, as a signal that came is never forgotten.
TEST(Resolver, LeavesALookUpOnASignal) {
  const auto lookUp = [] {
    Interruption::install();
    try {
      resolve("interrupted.test", 443, Deadline(1000));
    } catch (const Interrupted&) {
      _exit(7);
    }
  };
  EXPECT_EXIT(lookUp(), testing::ExitedWithCode(7), "");
}

TEST(Resolver, TellsAFailingNameServerFromAMissingHost) {
  EXPECT_THAT(complaintAbout("busy.test"), HasSubstr("name servers, or try again later"));
  EXPECT_THAT(complaintAbout("missing.test"), HasSubstr("check the spelling"));
}

TEST(Resolver, KeepsTheOrderOfTheAddresses) {
  const auto addresses = resolve("two.test", 443, Deadline(1000));
  ASSERT_EQ(2U, addresses.size());
  EXPECT_EQ("127.0.0.2", addresses[0].text());
  EXPECT_EQ("127.0.0.1", addresses[1].text());
}

TEST(Socket, GoesOnToTheNextAddressWhereOneRefuses) {
  const ScriptedServer server([](const ScriptedPeer& peer) { peer.awaitEnd(); });
  const int port = portOf(server.target());
  const Socket socket("two.test", port, Deadline(1000));
  EXPECT_EQ("127.0.0.1", socket.address());
  EXPECT_EQ("two.test (127.0.0.1) port " + std::to_string(port), socket.server());
}

TEST(Socket, NamesEveryAddressWhereAllRefuse) {
  const DeafPort nobody;
  EXPECT_THAT(complaintAbout("two.test", portOf(nobody.target())),
              AllOf(StartsWith("cannot connect to 'two.test' port "),
                    HasSubstr(": 127.0.0.2: Connection refused, 127.0.0.1: Connection refused; ")));
}

}  // namespace
