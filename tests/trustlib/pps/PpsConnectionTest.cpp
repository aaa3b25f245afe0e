#include "trustlib/pps/PpsConnection.h"

#include <fcntl.h>
#include <signal.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "tests/support/ScriptedService.h"
#include "tests/support/ServiceWorld.h"
#include "tests/support/Throws.h"

namespace {

const char* const echoPath = "/pps/services/echo/control?wait";

class Connection : public testing::Test {
 protected:
  ServiceWorld world;
};

std::optional<std::string> echo(const std::string& request) {
  return request;
}

std::optional<std::string> silence(const std::string&) {
  return std::nullopt;
}

// Takes up descriptors until the next one would pass the capacity of a descriptor set.
void exhaustDescriptorSet() {
  rlimit limit{};
  ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &limit));
  limit.rlim_cur = limit.rlim_max < 2048 ? limit.rlim_max : 2048;
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
  int fd = 0;
  while (fd < FD_SETSIZE - 1) {
    fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_NE(-1, fd) << strerror(errno);
  }
}

// The one descriptor of this process that is connected to a named socket.
int clientDescriptor() {
  for (int fd = 0; fd < FD_SETSIZE; ++fd) {
    sockaddr_un peer{};
    socklen_t length = sizeof(peer);
    if (getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &length) == 0 &&
        peer.sun_family == AF_UNIX && length > sizeof(peer.sun_family)) {
      return fd;
    }
  }
  return -1;
}

TEST_F(Connection, AnswerComesBackTerminated) {
  const ScriptedService service(world.runtime(), "echo", echo);
  PpsConnection connection(echoPath);
  EXPECT_EQ(5, connection.write("hello", 5));
  EXPECT_STREQ("hello", connection.read());
}

TEST_F(Connection, RequestIsWrittenAsGivenWithoutATerminator) {
  const ScriptedService service(world.runtime(), "echo", echo);
  PpsConnection connection(echoPath);
  connection.write("msg::x\n", 7);
  connection.read();
  ASSERT_EQ(1U, service.requests().size());
  EXPECT_EQ("msg::x\n", service.requests().front());
}

TEST_F(Connection, EmptyAnswerIsTheEmptyString) {
  const ScriptedService service(world.runtime(), "echo", "");
  PpsConnection connection(echoPath);
  connection.write("x", 1);
  EXPECT_STREQ("", connection.read());
}

TEST_F(Connection, AnswerThatJustFitsIsReturnedWhole) {
  const ScriptedService service(world.runtime(), "echo", std::string(16383, 'a'));
  PpsConnection connection(echoPath);
  connection.write("x", 1);
  EXPECT_EQ(std::string(16383, 'a'), connection.read());
}

TEST_F(Connection, LongerAnswerIsCutWithoutAnError) {
  const ScriptedService service(world.runtime(), "echo",
                                std::string(16383, 'a') + std::string(3617, 'b'));
  PpsConnection connection(echoPath);
  connection.write("x", 1);
  EXPECT_EQ(std::string(16383, 'a'), connection.read());
}

TEST_F(Connection, MissingObjectIsNamedInTheError) {
  EXPECT_THROWS(PpsConnection("/pps/services/nobody/control?wait"), TrustManagerException,
                "PpsConnection - failed to open PPS: /pps/services/nobody/control?wait");
}

TEST_F(Connection, PollWithoutAnAnswerTimesOut) {
  const ScriptedService service(world.runtime(), "echo", silence);
  PpsConnection connection(echoPath);
  connection.write("x", 1);
  EXPECT_THROWS(connection.read(0), PpsTimeoutException, "PpsConnection::read - timed out");
}

TEST_F(Connection, PollWithAnAnswerPendingReturnsIt) {
  const ScriptedService service(world.runtime(), "echo", echo);
  PpsConnection connection(echoPath);
  connection.write("hello", 5);
  const char* answer = nullptr;
  while (answer == nullptr) {
    try {
      answer = connection.read(0);
    } catch (const PpsTimeoutException&) {
      std::this_thread::yield();  // not there yet
    }
  }
  EXPECT_STREQ("hello", answer);
}

TEST_F(Connection, WaitEndsAfterTheGivenSeconds) {
  const ScriptedService service(world.runtime(), "echo", silence);
  PpsConnection connection(echoPath);
  connection.write("x", 1);
  EXPECT_THROWS(connection.read(1), PpsTimeoutException, "PpsConnection::read - timed out");
}

TEST_F(Connection, TimeoutIsCaughtAsTheLibrarysErrorToo) {
  const ScriptedService service(world.runtime(), "echo", silence);
  PpsConnection connection(echoPath);
  EXPECT_THROW(connection.read(0), TrustManagerException);
}

TEST_F(Connection, InterruptedWaitIsAnErrorAndNotRetried) {
  struct sigaction action {};
  action.sa_handler = [](int) {};  // without SA_RESTART, and select never restarts anyway
  ASSERT_EQ(0, sigaction(SIGALRM, &action, nullptr));
  const ScriptedService service(world.runtime(), "echo", silence);
  PpsConnection connection(echoPath);
  connection.write("x", 1);
  itimerval timer{};
  timer.it_value.tv_usec = 50000;
  timer.it_interval.tv_usec = 50000;  // again and again: the first may come before the wait
  ASSERT_EQ(0, setitimer(ITIMER_REAL, &timer, nullptr));
  EXPECT_THROWS(connection.read(60), TrustManagerException,
                std::string("PpsConnection::read - select error: ") + strerror(EINTR));
  timer = itimerval{};
  setitimer(ITIMER_REAL, &timer, nullptr);
}

TEST_F(Connection, DescriptorBeyondTheSetIsRefusedBeforeAnyWait) {
  const ScriptedService service(world.runtime(), "echo", echo);
  exhaustDescriptorSet();
  PpsConnection connection(echoPath);
  connection.write("x", 1);
  EXPECT_THROWS(connection.read(5), TrustManagerException,
                "PpsConnection::read - reached file descriptor set size limit of 1024");
}

TEST_F(Connection, DescriptorBeyondTheSetStillReadsWithoutALimit) {
  const ScriptedService service(world.runtime(), "echo", echo);
  exhaustDescriptorSet();
  PpsConnection connection(echoPath);
  connection.write("x", 1);
  EXPECT_STREQ("x", connection.read(-1));
}

TEST_F(Connection, WriteToAServiceThatIsGoneIsAnErrorWithItsColonAndKillsNobody) {
  auto service = std::make_unique<ScriptedService>(world.runtime(), "echo", silence);
  PpsConnection connection(echoPath);
  connection.write("x", 1);
  while (service->requests().empty()) {
    std::this_thread::yield();
  }
  service.reset();
  EXPECT_THROWS(connection.write("y", 1), TrustManagerException,
                std::string("PpsConnection::write - write error: ") + strerror(EPIPE) + ":");
}

TEST_F(Connection, ReadErrorCarriesTheSystemsReason) {
  const ScriptedService service(world.runtime(), "echo", echo);
  PpsConnection connection(echoPath);
  const int writeOnly = open("/dev/null", O_WRONLY | O_CLOEXEC);
  ASSERT_NE(-1, dup2(writeOnly, clientDescriptor()));
  close(writeOnly);
  EXPECT_THROWS(connection.read(), TrustManagerException,
                std::string("PpsConnection::read - read error: ") + strerror(EBADF));
}

// Descriptor numbers would prove nothing: the service accepts on a thread of this process.
TEST_F(Connection, DestructionClosesTheDescriptor) {
  const ScriptedService service(world.runtime(), "echo", echo);
  {
    const PpsConnection connection(echoPath);
    EXPECT_NE(-1, clientDescriptor());
  }
  EXPECT_EQ(-1, clientDescriptor());
}

}  // namespace
