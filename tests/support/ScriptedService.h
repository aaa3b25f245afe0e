#ifndef TESTS_SUPPORT_SCRIPTED_SERVICE_H
#define TESTS_SUPPORT_SCRIPTED_SERVICE_H

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

// A platform service that answers what the test tells it to, on the real socket of a
// control object. It serves one client after the other on a thread of its own.
class ScriptedService {
 public:
  // What to answer to a request; nothing keeps the client waiting until the service ends.
  using Script = std::function<std::optional<std::string>(const std::string& request)>;

  // Listens at RUNTIME/services/NAME/control; the directories are made where missing.
  ScriptedService(const std::string& runtimeDirectory, const std::string& name, Script script);

  // Answers every request alike.
  ScriptedService(const std::string& runtimeDirectory, const std::string& name,
                  const std::string& answer);

  ~ScriptedService();
  ScriptedService(const ScriptedService&) = delete;
  ScriptedService& operator=(const ScriptedService&) = delete;

  // The requests so far.
  std::vector<std::string> requests() const;

 private:
  void serve();
  void answer(int client);

  Script script;
  std::string socketPath;
  int listener;
  int stopPipe[2];
  std::vector<int> waitingClients;
  mutable std::mutex mutex;
  std::vector<std::string> received;
  std::thread thread;
};

#endif
