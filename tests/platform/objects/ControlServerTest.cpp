#include "platform/objects/ControlServer.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/objects/ControlObject.h"
#include "platform/objects/ControlSocket.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::StartsWith;

std::string echo(const ControlRequest& request) {
  return "res::" + request.text;
}

// A server on a thread of its own, over a fresh runtime directory.
class ControlServerTest : public testing::Test {
 protected:
  void SetUp() override { setenv("PPS_RUNTIME_DIR", runtime_.path().c_str(), 1); }
  void TearDown() override { stop(); }

  void start(ControlServer::Handler handler, ControlServerOptions options = {},
             bool handleSignals = false) {
    options.service = "echo";
    server_ = std::make_unique<ControlServer>(std::move(options), std::move(handler));
    thread_ = std::thread([this, handleSignals] { server_->run(handleSignals); });
  }

  void stop() {
    if (server_ == nullptr) return;
    server_->stop();
    thread_.join();
    server_.reset();
  }

  static OwnedFd connect() { return OwnedFd(openControlObject("/pps/services/echo/control?wait")); }

  static OwnedFd send(const std::string& text) {
    OwnedFd fd = connect();
    EXPECT_EQ(static_cast<ssize_t>(text.size()), write(fd.get(), text.data(), text.size()));
    return fd;
  }

  static std::string receive(const OwnedFd& fd) {
    std::string answer(70000, '\0');
    const ssize_t length = read(fd.get(), answer.data(), answer.size());
    EXPECT_GE(length, 0);
    answer.resize(length < 0 ? 0 : static_cast<size_t>(length));
    return answer;
  }

  static std::string ask(const std::string& text) { return receive(send(text)); }

  TemporaryDirectory runtime_;
  std::unique_ptr<ControlServer> server_;
  std::thread thread_;
};

TEST_F(ControlServerTest, OneRequestGetsOneAnswer) {
  start(echo);
  EXPECT_EQ("res::hello", ask("hello"));
}

TEST_F(ControlServerTest, ConnectionEndsAfterItsAnswer) {
  start(echo);
  const OwnedFd client = send("hello");
  receive(client);
  EXPECT_EQ("", receive(client));
}

TEST_F(ControlServerTest, SecondMessageDoesNotSpoilTheAnswer) {
  start(echo);
  const OwnedFd client = send("first");
  (void)!::send(client.get(), "second", 6, MSG_NOSIGNAL);
  EXPECT_EQ("res::first", receive(client));
}

TEST_F(ControlServerTest, HandlerLearnsWhoAsks) {
  start([](const ControlRequest& request) {
    return std::to_string(request.pid) + " " + std::to_string(request.uid) + " " +
           std::to_string(request.gid);
  });
  EXPECT_EQ(
      std::to_string(getpid()) + " " + std::to_string(geteuid()) + " " + std::to_string(getegid()),
      ask("who"));
}

TEST_F(ControlServerTest, HandlerLearnsTheGroupsOfWhoAsks) {
  std::vector<gid_t> own(static_cast<size_t>(getgroups(0, nullptr)));
  ASSERT_GE(getgroups(static_cast<int>(own.size()), own.data()), 0);
  std::promise<std::optional<std::vector<gid_t>>> told;
  start([&](const ControlRequest& request) {
    told.set_value(request.groups);
    return std::string("done");
  });
  ask("groups");
  EXPECT_EQ(own, told.get_future().get());
}

TEST_F(ControlServerTest, HangupIsPassedOnEachTimeAndTheServerGoesOn) {
  std::promise<void> first;
  std::promise<void> second;
  std::atomic<int> count{0};
  ControlServerOptions options;
  options.hangup = [&] { (count++ == 0 ? first : second).set_value(); };
  start(echo, options, true);
  ask("running");  // it handles signals once it answers
  kill(getpid(), SIGHUP);
  first.get_future().wait();
  kill(getpid(), SIGHUP);
  second.get_future().wait();
  EXPECT_EQ("res::hello", ask("hello"));
}

TEST_F(ControlServerTest, RequestOfTheLargestSizeIsTakenWhole) {
  ControlServerOptions options;
  options.maxRequestBytes = 1000;
  start([](const ControlRequest& request) { return std::to_string(request.text.size()); }, options);
  EXPECT_EQ("1000", ask(std::string(1000, 'x')));
}

TEST_F(ControlServerTest, LargerRequestIsRefusedAndNotCut) {
  ControlServerOptions options;
  options.maxRequestBytes = 1000;
  start(echo, options);
  EXPECT_EQ("err::the request is longer than 1000 bytes\n", ask(std::string(1001, 'x')));
}

TEST_F(ControlServerTest, EmptyRequestIsRefused) {
  start(echo);
  const OwnedFd client = connect();
  ASSERT_EQ(0, ::send(client.get(), "", 0, 0));
  EXPECT_EQ("err::the request is empty\n", receive(client));
}

TEST_F(ControlServerTest, ThrowingHandlerBecomesAnErrorAndTheServerGoesOn) {
  start([](const ControlRequest& request) {
    if (request.text == "bad") throw std::runtime_error("two\nlines");
    return request.text;
  });
  EXPECT_EQ("err::two lines\n", ask("bad"));
  EXPECT_EQ("good", ask("good"));
}

TEST_F(ControlServerTest, LongestAnswerArrivesWhole) {
  start([](const ControlRequest&) { return std::string(16383, 'x'); });
  EXPECT_EQ(16383U, ask("x").size());
}

TEST_F(ControlServerTest, LongerAnswerIsReplacedByAnError) {
  start([](const ControlRequest&) { return std::string(16384, 'x'); });
  EXPECT_EQ("err::the answer is longer than 16383 bytes\n", ask("x"));
}

TEST_F(ControlServerTest, SilentClientsHoldNoWorker) {
  ControlServerOptions options;
  options.workers = 1;
  start(echo, options);
  std::vector<OwnedFd> silent;
  silent.reserve(20);
  for (int i = 0; i < 20; ++i) silent.push_back(connect());
  EXPECT_EQ("res::hello", ask("hello"));
}

TEST_F(ControlServerTest, SilentClientIsClosedAfterTheIdleLimit) {
  ControlServerOptions options;
  options.idleLimit = std::chrono::milliseconds(20);
  start(echo, options);
  EXPECT_EQ("", receive(connect()));
}

TEST_F(ControlServerTest, ClientsBeyondTheLimitAreServedOnceOthersHaveTheirAnswer) {
  ControlServerOptions options;
  options.maxConnections = 1;
  std::promise<void> started;
  std::promise<void> finish;
  start(
      [&](const ControlRequest& request) {
        if (request.text == "first") {
          started.set_value();
          finish.get_future().wait();
        }
        return "res::" + request.text;
      },
      options);
  const OwnedFd first = send("first");
  started.get_future().wait();
  const OwnedFd second = send("second");
  finish.set_value();
  EXPECT_EQ("res::first", receive(first));
  EXPECT_EQ("res::second", receive(second));
}

TEST_F(ControlServerTest, SilentClientsMakeRoomForOneThatAsks) {
  ControlServerOptions options;
  options.maxConnections = 4;
  start(echo, options);
  std::vector<OwnedFd> silent;
  silent.reserve(20);
  for (int i = 0; i < 20; ++i) silent.push_back(connect());
  EXPECT_EQ("res::hello", ask("hello"));
}

TEST_F(ControlServerTest, HandlerLearnsThatItsClientHasGone) {
  std::promise<void> started;
  std::promise<bool> gone;
  start([&](const ControlRequest& request) {
    std::promise<void> stopped;
    const std::stop_callback callback(request.cancelled, [&] { stopped.set_value(); });
    started.set_value();
    stopped.get_future().wait();
    gone.set_value(request.cancelled.stop_requested());
    return std::string("nobody reads this");
  });
  {
    const OwnedFd client = send("hello");
    started.get_future().wait();
  }
  EXPECT_TRUE(gone.get_future().get());
}

TEST_F(ControlServerTest, RunningHandlerIsCancelledByAStopAndItsAnswerDelivered) {
  std::promise<void> started;
  start([&](const ControlRequest& request) {
    std::promise<void> stopped;
    const std::stop_callback callback(request.cancelled, [&] { stopped.set_value(); });
    started.set_value();
    stopped.get_future().wait();
    return std::string("finished");
  });
  const OwnedFd client = send("hello");
  started.get_future().wait();
  stop();
  EXPECT_EQ("finished", receive(client));
}

TEST_F(ControlServerTest, ManyClientsAtOnceGetTheirOwnAnswers) {
  ControlServerOptions options;
  options.workers = 4;
  start(echo, options);
  std::vector<std::thread> threads;
  threads.reserve(8);
  std::atomic<int> right{0};
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, i] {
      for (int j = 0; j < 50; ++j) {
        const std::string text = std::to_string(i) + "/" + std::to_string(j);
        if (ask(text) == "res::" + text) ++right;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(400, right);
}

TEST_F(ControlServerTest, RunningOutOfDescriptorsDelaysClientsAndLosesNone) {
  start(echo);
  EXPECT_EQ("res::warm", ask("warm"));
  const OwnedFd client = connect();
  rlimit before = {};
  ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &before));
  const OwnedFd next(dup(0));
  const rlimit tight = {static_cast<rlim_t>(next.get() + 1), before.rlim_max};
  std::vector<OwnedFd> fillers;
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &tight));
  for (int fd = dup(0); fd != -1; fd = dup(0)) fillers.emplace_back(fd);
  ASSERT_EQ(5, write(client.get(), "hello", 5));
  pollfd waiting = {client.get(), POLLIN, 0};
  poll(&waiting, 1, 10);
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &before));
  fillers.clear();
  EXPECT_EQ("res::hello", receive(client));
  EXPECT_EQ("res::again", ask("again"));
}

TEST_F(ControlServerTest, SocketIsOpenToAllAndItsDirectoriesAreReadable) {
  const mode_t before = umask(077);
  start(echo);
  umask(before);
  struct stat status = {};
  ASSERT_EQ(0, stat(runtime_.path("services/echo/control").c_str(), &status));
  EXPECT_EQ(0666U, status.st_mode & 07777);
  ASSERT_EQ(0, stat(runtime_.path("services/echo").c_str(), &status));
  EXPECT_EQ(0755U, status.st_mode & 07777);
}

TEST_F(ControlServerTest, RequestOfAClientThatLeftTheQueueIsNotHandled) {
  std::promise<void> begun;
  std::promise<void> released;
  std::atomic<int> handled{0};
  ControlServerOptions options;
  options.workers = 1;
  start(
      [&](const ControlRequest& request) {
        if (++handled == 1) {
          begun.set_value();
          released.get_future().wait();
        }
        return echo(request);
      },
      options);
  const OwnedFd first = send("first");
  begun.get_future().wait();
  send("of one that leaves");
  // The event loop answers these by itself, the second one only after it has seen him go.
  const std::string tooLong(options.maxRequestBytes + 1, 'x');
  ask(tooLong);
  ask(tooLong);
  released.set_value();
  EXPECT_EQ("res::last", ask("last"));
  EXPECT_EQ(2, handled);
}

TEST_F(ControlServerTest, NothingIsLeftAfterAStop) {
  start(echo);
  stop();
  EXPECT_TRUE(std::filesystem::is_empty(runtime_.path()));
}

TEST_F(ControlServerTest, ForeignFilesKeepTheirDirectory) {
  start(echo);
  runtime_.write("services/echo/mine", "x");
  stop();
  EXPECT_TRUE(std::filesystem::exists(runtime_.path("services/echo/mine")));
  EXPECT_FALSE(std::filesystem::exists(runtime_.path("services/echo/control")));
}

TEST_F(ControlServerTest, SecondServiceOfTheSameNameIsRefused) {
  start(echo);
  try {
    ControlServerOptions options;
    options.service = "echo";
    const ControlServer second(options, echo);
    FAIL() << "a second service started";
  } catch (const std::runtime_error& failure) {
    EXPECT_THAT(failure.what(), StartsWith("another service is already listening on "));
  }
  EXPECT_EQ("res::still here", ask("still here"));
}

// Whoever may list a directory may lock it.
TEST_F(ControlServerTest, DirectoryThatAStrangerLockedKeepsNoServiceOut) {
  std::filesystem::create_directories(runtime_.path("services/echo"));
  const OwnedFd directory(
      open(runtime_.path("services/echo").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  ASSERT_EQ(0, flock(directory.get(), LOCK_EX | LOCK_NB));
  start(echo);
  EXPECT_EQ("res::hello", ask("hello"));
}

TEST_F(ControlServerTest, NobodyElseCanOpenWhatTheServiceLocks) {
  start(echo);
  struct stat status = {};
  ASSERT_EQ(0, stat(runtime_.path("services/echo/lock").c_str(), &status));
  EXPECT_EQ(0600U, status.st_mode & 07777);
}

TEST_F(ControlServerTest, SocketOfADeadServiceIsReplaced) {
  {
    ControlSocket dead = ControlSocket::listen(runtime_.path(), "echo", 0666, 1);
    std::filesystem::rename(runtime_.path("services/echo/control"), runtime_.path("kept"));
  }
  std::filesystem::create_directories(runtime_.path("services/echo"));
  std::filesystem::rename(runtime_.path("kept"), runtime_.path("services/echo/control"));
  start(echo);
  EXPECT_EQ("res::hello", ask("hello"));
}

TEST_F(ControlServerTest, FileInPlaceOfTheSocketIsNotRemoved) {
  const std::string file = runtime_.write("services/echo/control", "precious");
  ControlServerOptions options;
  options.service = "echo";
  EXPECT_THROW(ControlServer(options, echo), std::runtime_error);
  EXPECT_TRUE(std::filesystem::exists(file));
}

TEST_F(ControlServerTest, NameThatLeadsElsewhereIsRefused) {
  ControlServerOptions options;
  options.service = "../echo";
  EXPECT_THROW(ControlServer(options, echo), std::runtime_error);
}

TEST_F(ControlServerTest, InheritedSocketIsServedAndLeftInPlace) {
  ControlSocket made = ControlSocket::listen(runtime_.path(), "echo", 0666, 4);
  const OwnedFd saved(fcntl(3, F_DUPFD_CLOEXEC, 100));
  const OwnedFd listener(fcntl(made.fd(), F_DUPFD_CLOEXEC, 100));
  ASSERT_EQ(3, dup2(listener.get(), 3));
  setenv("LISTEN_PID", std::to_string(getpid()).c_str(), 1);
  setenv("LISTEN_FDS", "1", 1);
  start(echo);
  EXPECT_EQ(nullptr, getenv("LISTEN_FDS"));
  EXPECT_EQ("res::hello", ask("hello"));
  stop();
  EXPECT_TRUE(std::filesystem::exists(runtime_.path("services/echo/control")));
  made.unlink();
  if (saved) dup2(saved.get(), 3);
}

TEST_F(ControlServerTest, SocketsMeantForAnotherProcessAreIgnored) {
  setenv("LISTEN_PID", "1", 1);
  setenv("LISTEN_FDS", "1", 1);
  start(echo);
  EXPECT_EQ("res::hello", ask("hello"));
}

TEST(AnnounceReady, WritesOneLineAndCloses) {
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  announceReady(ends[1]);
  char text[16] = {};
  EXPECT_EQ(6, read(ends[0], text, sizeof text));
  EXPECT_STREQ("READY\n", text);
  EXPECT_EQ(0, read(ends[0], text, sizeof text));
  close(ends[0]);
}

TEST(AnnounceReady, ReaderThatHasGoneIsNoError) {
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  close(ends[0]);
  announceReady(ends[1]);
  EXPECT_EQ(-1, fcntl(ends[1], F_GETFD));
}

}  // namespace
