#ifndef TESTS_SUPPORT_SERVICEPROCESS_H
#define TESTS_SUPPORT_SERVICEPROCESS_H

#include <sys/types.h>

#include <string>
#include <vector>

// The real trust-certmgrd as a child process. The constructor returns when the
// service listens or has ended; the destructor ends it and waits for it.
class ServiceProcess {
 public:
  // Arguments follow the program's name; --ready-fd is added.
  explicit ServiceProcess(std::vector<std::string> arguments);
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
  pid_t pid_ = -1;
  bool ready_ = false;
  int errors_ = -1;  // an unnamed file
};

#endif
