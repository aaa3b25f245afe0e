#include "services/certmgr/workers/WorkerLoop.h"

#include <sys/socket.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/objects/ControlSocket.h"
#include "services/certmgr/workers/WorkerMessage.h"

namespace {

// A worker on a thread, at the other end of a socket.
class WorkerLoopTest : public testing::Test {
 protected:
  void start(const ControlServer::Handler& handler) {
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends));
    service_ = OwnedFd(ends[0]);
    thread_ = std::thread([this, handler, worker = ends[1]] {
      const OwnedFd end(worker);
      answerMessages(worker, handler, [this] { ++reloads_; });
    });
  }

  void TearDown() override { stop(); }

  void stop() {
    service_ = OwnedFd();
    if (thread_.joinable()) thread_.join();
  }

  std::string ask(const std::string& text, std::uint64_t generation = 0) {
    WorkerMessage message;
    message.generation = generation;
    message.request.text = text;
    const std::string bytes = message.encode();
    EXPECT_EQ(static_cast<ssize_t>(bytes.size()),
              send(service_.get(), bytes.data(), bytes.size(), 0));
    std::string answer(20000, '\0');
    const ssize_t length = recv(service_.get(), answer.data(), answer.size(), 0);
    answer.resize(length < 0 ? 0 : static_cast<size_t>(length));
    return answer;
  }

  static std::string echo(const ControlRequest& request) { return "res::" + request.text; }

  OwnedFd service_;
  std::thread thread_;
  int reloads_ = 0;  // to be read after stop()
};

TEST_F(WorkerLoopTest, OneMessageAfterTheOtherIsAnswered) {
  start(echo);
  EXPECT_EQ("res::a", ask("a"));
  EXPECT_EQ("res::b", ask("b"));
}

TEST_F(WorkerLoopTest, LargestRequestIsTakenWhole) {
  start([](const ControlRequest& request) { return std::to_string(request.text.size()); });
  EXPECT_EQ("65536", ask(std::string(65536, 'x')));
}

TEST_F(WorkerLoopTest, FailureIsAnAnswer) {
  start([](const ControlRequest&) -> std::string { throw std::runtime_error("no such file"); });
  EXPECT_EQ("err::no such file\n", ask("a"));
}

TEST_F(WorkerLoopTest, LackOfMemoryIsAnAnswer) {
  start([](const ControlRequest&) -> std::string { throw std::bad_alloc(); });
  EXPECT_EQ("err::there is not enough memory for the request; ask again later\n", ask("a"));
}

TEST_F(WorkerLoopTest, AnswerThatNoClientReadsWholeIsAnError) {
  start([](const ControlRequest&) { return std::string(16384, 'x'); });
  EXPECT_EQ("err::the answer is longer than 16383 bytes\n", ask("a"));
}

TEST_F(WorkerLoopTest, NewGenerationReloadsOnce) {
  start(echo);
  ask("a");
  ask("b", 1);
  ask("c", 1);
  stop();
  EXPECT_EQ(1, reloads_);
}

TEST_F(WorkerLoopTest, RequestOfTheFirstGenerationNeedsNoReload) {
  start(echo);
  ask("a");
  stop();
  EXPECT_EQ(0, reloads_);
}

}  // namespace
