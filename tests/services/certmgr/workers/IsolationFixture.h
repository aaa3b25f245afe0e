#ifndef TESTS_SERVICES_CERTMGR_WORKERS_ISOLATIONFIXTURE_H
#define TESTS_SERVICES_CERTMGR_WORKERS_ISOLATIONFIXTURE_H

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "tests/services/certmgr/CertmgrdFixture.h"

inline constexpr const char* kValid = "\"validity\":\"VALID\"";

// The real program with a chain that it can judge, and a look at its worker processes.
class CertmgrdIsolationTest : public CertmgrdTest {
 protected:
  void SetUp() override {
    addToHashedDirectory(store_, root);
    text_ = request({write("leaf.der", leafByRoot())});
  }

  // Starts it, and its first worker with it. Returns that worker's number.
  pid_t startWithOneWorker(std::vector<std::string> arguments = {}) {
    arguments.emplace_back("--no-system-anchors");
    start(arguments);
    if (!service_->isReady()) throw std::runtime_error("the service is not there");
    awaitVerdict();
    std::vector<pid_t> all = workers();
    // One that was too slow may be on its way out.
    for (; all.size() != 1; all = workers()) std::this_thread::yield();
    return all.front();
  }

  // Asks until the chain is judged: on a busy machine that may take more than a short deadline.
  void awaitVerdict() const {
    while (ask(text_).find(kValid) == std::string::npos) {
    }
  }

  // As the service counts them, but for those that asking for the number was answered itself.
  int errorsAnswered() {
    const std::string name = R"("errors":")";
    for (;; ++ownErrors_) {
      const std::string counters = ask("msg::getcounters\nid::1\n");
      const size_t at = counters.find(name);
      if (at != std::string::npos) {
        return std::stoi(counters.substr(at + name.size())) - ownErrors_;
      }
    }
  }

  // The children of the service that have not ended.
  std::vector<pid_t> workers() const {
    std::vector<pid_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
      const auto number = static_cast<pid_t>(strtol(entry.path().filename().c_str(), nullptr, 10));
      if (number <= 0) continue;
      std::ifstream file(entry.path() / "stat");
      std::string text;
      std::getline(file, text);
      const size_t nameEnd = text.rfind(") ");
      if (nameEnd == std::string::npos) continue;
      std::istringstream fields(text.substr(nameEnd + 2));
      char state = 'Z';
      pid_t parent = 0;
      fields >> state >> parent;
      if (parent == service_->pid() && state != 'Z') found.push_back(number);
    }
    return found;
  }

  static OwnedFd send(const std::string& text) {
    OwnedFd fd(openControlObject("/pps/services/certmgr/control?wait"));
    EXPECT_EQ(static_cast<ssize_t>(text.size()), ::write(fd.get(), text.data(), text.size()));
    return fd;
  }

  static std::string receive(const OwnedFd& fd) {
    std::string answer(16384, '\0');
    const ssize_t length = ::read(fd.get(), answer.data(), answer.size());
    answer.resize(length < 0 ? 0 : static_cast<size_t>(length));
    return answer;
  }

  // The sockets that a process has open, by the names that the kernel gives them.
  static std::set<std::string> socketsOf(pid_t process) {
    std::set<std::string> sockets;
    for (const auto& fd :
         std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/fd")) {
      std::error_code gone;
      const std::string target = std::filesystem::read_symlink(fd.path(), gone).string();
      if (target.rfind("socket:", 0) == 0) sockets.insert(target);
    }
    return sockets;
  }

  // A value of /proc/PROCESS/status, as it stands there.
  static std::string statusOf(pid_t process, const std::string& name) {
    std::ifstream file("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(file, line);) {
      if (line.rfind(name + ":\t", 0) == 0) return line.substr(name.size() + 2);
    }
    return "";
  }

  std::string text_;
  int ownErrors_ = 0;
};

// A process that is no child of this one, to be waited for.
class WatchedProcess {
 public:
  explicit WatchedProcess(pid_t process)
      : fd_(static_cast<int>(syscall(SYS_pidfd_open, process, 0))) {}

  bool canBeWatched() const { return static_cast<bool>(fd_); }

  void awaitEnd() const {
    pollfd event = {fd_.get(), POLLIN, 0};
    poll(&event, 1, -1);
  }

 private:
  OwnedFd fd_;
};

#endif
