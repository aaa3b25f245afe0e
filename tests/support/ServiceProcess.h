#ifndef TESTS_SUPPORT_SERVICEPROCESS_H
#define TESTS_SUPPORT_SERVICEPROCESS_H

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

// A real service as a child process. The constructor returns when the
// service listens or has ended; the destructor ends it and waits for it.
class ServiceProcess {
 public:
  // trust-certmgrd. Arguments follow the program's name; --ready-fd is added.
  explicit ServiceProcess(std::vector<std::string> arguments);
  // Any service, in a session of its own. Its controlling terminal is the one with that path;
  // it has none when the path is empty.
  explicit ServiceProcess(const std::string& program, std::vector<std::string> arguments,
                          const std::string& terminal = "");
  ~ServiceProcess();
  ServiceProcess(const ServiceProcess&) = delete;
  ServiceProcess& operator=(const ServiceProcess&) = delete;

  bool isReady() const { return ready_; }
  pid_t pid() const { return pid_; }
  // What it wrote to stderr until now.
  std::string errors() const;
  // Sends the signal, waits, and returns the exit status; -1 for death by a signal.
  int end(int signal);
  // Waits without a signal.
  int wait();

 private:
  enum class Session { shared, own };
  ServiceProcess(const std::string& program, std::vector<std::string> arguments, Session session,
                 const std::string& terminal);

  pid_t pid_ = -1;
  bool ready_ = false;
  int errors_ = -1;  // an unnamed file
};

// Whether the service that `start` starts from a child process listens, and ends when that
// process is killed. Waits for its end without limit.
bool endsWithItsParent(const std::function<std::unique_ptr<ServiceProcess>()>& start);

#endif
