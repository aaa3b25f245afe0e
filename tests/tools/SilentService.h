#ifndef TESTS_TOOLS_SILENTSERVICE_H
#define TESTS_TOOLS_SILENTSERVICE_H

#include <string>

// A certificate manager that takes requests and never answers.
class SilentService {
 public:
  // Listens below the runtime directory. Throws std::runtime_error.
  explicit SilentService(const std::string& runtimeDirectory);
  ~SilentService();
  SilentService(const SilentService&) = delete;
  SilentService& operator=(const SilentService&) = delete;

  // Waits for a request, past clients that only look whether somebody listens, and keeps its
  // connection open. Returns the request.
  std::string awaitRequest();

 private:
  int listener_;
  int client_ = -1;
};

#endif
