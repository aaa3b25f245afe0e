// A server whose allocations fail, one at a time.
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "platform/objects/ControlObject.h"
#include "platform/objects/ControlServer.h"
#include "platform/objects/ControlSocket.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

std::atomic<int> untilFailure{-1};
thread_local bool spared = false;

}  // namespace

void* operator new(std::size_t size) {
  if (!spared && untilFailure.load() >= 0 && untilFailure.fetch_sub(1) == 0) {
    throw std::bad_alloc();
  }
  void* memory = malloc(size > 0 ? size : 1);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept {
  free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  free(memory);
}

namespace {

class ServerMemoryTest : public testing::TestWithParam<int> {
 protected:
  ServerMemoryTest() {
    spared = true;
    setenv("PPS_RUNTIME_DIR", runtime_.path().c_str(), 1);
    ControlServerOptions options;
    options.service = "echo";
    options.workers = 1;
    options.hangup = [] {};
    server_ = std::make_unique<ControlServer>(
        options, [](const ControlRequest& request) { return "res::" + request.text; });
    thread_ = std::thread([this] { server_->run(true); });
  }

  ~ServerMemoryTest() override {
    untilFailure = -1;
    if (thread_.joinable()) stop();
  }

  void stop() {
    server_->stop();
    thread_.join();
  }

  // Makes no allocation itself. Longer than what fits into a string object.
  static bool isAnswered() {
    constexpr char kRequest[] = "a request of some forty letters, or more";
    constexpr char kAnswer[] = "res::a request of some forty letters, or more";
    const OwnedFd fd(openControlObject("/pps/services/echo/control?wait"));
    if (write(fd.get(), kRequest, sizeof kRequest - 1) < 0) return false;
    char answer[256] = {};
    const ssize_t length = read(fd.get(), answer, sizeof answer);
    return length == sizeof kAnswer - 1 && std::string_view(answer) == kAnswer;
  }

  TemporaryDirectory runtime_;
  std::unique_ptr<ControlServer> server_;
  std::thread thread_;
};

TEST_P(ServerMemoryTest, WhicheverAllocationFailsTheServerGoesOn) {
  ASSERT_TRUE(isAnswered());
  untilFailure = GetParam();
  isAnswered();
  untilFailure = -1;
  EXPECT_TRUE(isAnswered());
}

TEST_P(ServerMemoryTest, WhicheverAllocationFailsAfterAHangupTheServerStops) {
  ASSERT_TRUE(isAnswered());
  untilFailure = GetParam();
  kill(getpid(), SIGHUP);
  isAnswered();
  untilFailure = -1;
  kill(getpid(), SIGTERM);
  thread_.join();
}

TEST_P(ServerMemoryTest, WhicheverAllocationFailsWhileItStopsTheServerStops) {
  ASSERT_TRUE(isAnswered());
  const OwnedFd silent(openControlObject("/pps/services/echo/control?wait"));
  ASSERT_TRUE(isAnswered());
  untilFailure = GetParam();
  kill(getpid(), SIGTERM);
  thread_.join();
}

INSTANTIATE_TEST_SUITE_P(Allocations, ServerMemoryTest, testing::Range(0, 24));

}  // namespace
