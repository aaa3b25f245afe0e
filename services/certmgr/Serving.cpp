#include "services/certmgr/Serving.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "platform/objects/ControlSocket.h"
#include "services/certmgr/CertDetailsService.h"
#include "services/certmgr/ChainFiles.h"
#include "services/certmgr/workers/Sandbox.h"
#include "services/certmgr/workers/WorkerLoop.h"
#include "services/certmgr/workers/WorkerPool.h"
#include "services/common/ServiceMain.h"

namespace {

// Removes the runtime directory of an ephemeral service, however it ends. Only a directory
// that starts out empty is taken: a mistyped one must not cost anybody his files.
class RemovedAtEnd {
 public:
  explicit RemovedAtEnd(std::string directory) : directory_(std::move(directory)) {
    std::error_code missing;
    const std::filesystem::directory_iterator content(directory_, missing);
    if (!directory_.empty() && !missing && content != std::filesystem::directory_iterator()) {
      throw std::runtime_error("--ephemeral removes its --runtime-dir, and " + directory_ +
                               " is not empty; name an empty or a new one");
    }
  }
  ~RemovedAtEnd() {
    std::error_code ignored;
    if (!directory_.empty()) std::filesystem::remove_all(directory_, ignored);
  }
  RemovedAtEnd(const RemovedAtEnd&) = delete;
  RemovedAtEnd& operator=(const RemovedAtEnd&) = delete;

 private:
  std::string directory_;
};

std::string chainDirectoryIn(const std::string& runtimeDirectory) {
  return (runtimeDirectory.empty() ? defaultRuntimeDirectory() : runtimeDirectory) +
         "/services/certmgr/chain";
}

std::unique_ptr<CertDetailsService> makeService(const ServiceOptions& options,
                                                const std::string& chainDirectory,
                                                RequestRecords& records) {
  return std::make_unique<CertDetailsService>(options.trustSources(), chainDirectory, options.when,
                                              records, options.evaluation);
}

// Before the service is made, so that the threads that it may have are restricted too.
void restrict(const ServiceOptions& options, const SandboxNeeds& needs,
              const RequestRecords& records) {
  if (!options.noSandbox) records.unrestricted(enterSandbox(needs));
}

// When memory runs out, a worker can be spared and the service cannot.
void offerToOutOfMemory() {
  const OwnedFd fd(::open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC));
  if (fd) (void)!::write(fd.get(), "500", 3);
}

void work(const ServiceOptions& options, pid_t service) {
  RequestRecords records = makeRecords(options.operation, false);
  followParent(service, SIGKILL);
  offerToOutOfMemory();
  const std::string chains = chainDirectoryIn(options.server.runtimeDirectory);
  restrict(options, {chains}, records);
  const auto evaluation = makeService(options, chains, records);
  answerMessages(
      options.workerFd, [&](const ControlRequest& request) { return evaluation->answer(request); },
      [&] { evaluation->reload(); });
}

void serveInProcess(const ServiceOptions& options) {
  RequestRecords records = makeRecords(options.operation, options.ephemeral);
  // Made once the server holds its place, so that a second service touches no file.
  std::unique_ptr<CertDetailsService> evaluation;
  ControlServerOptions settings = options.server;
  settings.hangup = [&] {
    evaluation->reload();
    records.reloaded();
  };
  ControlServer server(settings,
                       [&](const ControlRequest& request) { return evaluation->answer(request); });
  const ChainDirectory chains(chainDirectoryIn(server.runtimeDirectory()));
  restrict(options, {chains.path(), true}, records);
  evaluation = makeService(options, chains.path(), records);
  server.run();
}

// A worker notes what it answers; what becomes of a request that it does not is noted here.
std::string answerByWorker(WorkerPool& workers, const ControlRequest& request,
                           RequestRecords& records) {
  try {
    return workers.answer(request);
  } catch (const std::exception& failure) {
    const auto took = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - request.arrived);
    records.refused({request.pid, request.uid}, failure.what(), took, true);
    throw;
  }
}

void serveByWorkers(const ServiceOptions& options, const std::vector<std::string>& arguments) {
  (void)std::signal(SIGCHLD, SIG_DFL);  // else nobody could tell how a worker ended
  RequestRecords records = makeRecords(options.operation, false);
  const int counters = records.counters().fd();
  std::vector<std::string> command = arguments;
  command.insert(command.begin() + 1, "--counters-fd=" + std::to_string(counters));
  WorkerPool workers({command, {counters}}, options.deadline);
  ControlServerOptions settings = options.server;
  settings.hangup = [&] {
    workers.reload();
    records.reloaded();
  };
  ControlServer server(settings, [&](const ControlRequest& request) {
    return answerByWorker(workers, request, records);
  });
  const ChainDirectory chains(chainDirectoryIn(server.runtimeDirectory()));
  if (!options.noSandbox) shieldProcess();
  server.run();
}

}  // namespace

void serve(const ServiceOptions& options, const std::vector<std::string>& arguments, pid_t parent) {
  if (options.workerFd != -1) return work(options, parent);
  const RemovedAtEnd cleanup(options.ephemeral ? options.server.runtimeDirectory : "");
  if (options.ephemeral) followParent(parent);
  requireUsable(options.trust);
  if (options.inProcess || options.ephemeral) return serveInProcess(options);
  serveByWorkers(options, arguments);
}
