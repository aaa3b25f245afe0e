#include "tools/trustctl/PrivateServices.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>
#include <vector>

#include <fmt/format.h>

#include "platform/objects/ControlObject.h"
#include "services/common/FileSystem.h"
#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/Interruption.h"

namespace fs = std::filesystem;

namespace {

// An absolute path cannot be taken for an option.
void addPath(const char* option, const std::string& path, std::vector<std::string>* arguments) {
  if (!path.empty()) {
    arguments->insert(arguments->end(), {option, fs::absolute(path).string()});
  }
}

std::vector<std::string> argumentsFor(const ServiceSettings& settings,
                                      const std::string& directory) {
  std::vector<std::string> arguments = {"--runtime-dir", directory, "--ephemeral"};
  if (!settings.cafile.empty() || !settings.capath.empty()) {
    arguments.emplace_back("--no-system-anchors");
  }
  addPath("--cafile", settings.cafile, &arguments);
  addPath("--capath", settings.capath, &arguments);
  addPath("--crlfile", settings.crlfile, &arguments);
  if (settings.time) {
    arguments.insert(arguments.end(), {"--verification-time", fmt::format("@{}", *settings.time)});
  }
  return arguments;
}

std::vector<std::string> argumentsFor(const DialogSettings& settings,
                                      const std::string& directory) {
  std::vector<std::string> arguments = {"--runtime-dir", directory, "--follow-parent", "--face",
                                        settings.face};
  addPath("--store", settings.store, &arguments);
  return arguments;
}

// Where the running services are, so that a private place can lead to them.
std::string runningDirectory() {
  char directory[4096];
  if (controlRuntimeDirectory(directory, sizeof directory) != 0) {
    throw CommandError(ExitStatus::undecided,
                       "the path of the runtime directory is too long; check PPS_RUNTIME_DIR");
  }
  return fs::absolute(directory).string();
}

}  // namespace

bool serviceIsRunning(const std::string& name) {
  const std::string object = "/pps/services/" + name + "/control";
  if (access(object.c_str(), F_OK) == 0) {
    return true;  // a platform, or a mount, that has control objects as files
  }
  const FileDescriptor service(openControlObject(object.c_str(), O_CLOEXEC));
  if (service.get() != -1 || errno == EAGAIN) {
    return true;
  }
  if (errno == EACCES || errno == EPERM) {
    throw CommandError(ExitStatus::undecided,
                       fmt::format("the {} service is running, but this user may not use it; add "
                                   "--private to use services of this run's own",
                                   name));
  }
  return false;
}

// The certificate manager clears the directory too. Doing both leaves nothing, whichever of the
// two dies.
PrivateServices::~PrivateServices() {
  dialog_.reset();
  certificateManager_.reset();
  if (!directory_.empty()) {
    std::error_code ignored;
    fs::remove_all(directory_, ignored);
  }
}

void PrivateServices::startCertificateManager(const ServiceSettings& settings) {
  certificateManager_ = std::make_unique<ServiceChild>(certificateManagerProgram, [&] {
    // Late, as nobody clears up after a kill between this and the child's start.
    makeDirectory();
    return argumentsFor(settings, directory_);
  });
  leadToRunning("dialog");
  setenv("HOME", directory_.c_str(), 1);
}

void PrivateServices::startDialog(const DialogSettings& settings) {
  if (directory_.empty()) {
    makeDirectory();
    leadToRunning("certmgr");
  }
  std::error_code ignored;
  fs::remove(directory_ + "/services/dialog", ignored);
  dialog_ = std::make_unique<ServiceChild>(dialogProgram,
                                           [&] { return argumentsFor(settings, directory_); });
}

void PrivateServices::makeDirectory() {
  running_ = runningDirectory();
  std::string path = (fs::path(temporaryDirectory()) / "trustctl-XXXXXX").string();
  const InterruptionBlocker blocker;  // made and known, or neither
  if (mkdtemp(path.data()) == nullptr) {
    throw CommandError(
        ExitStatus::undecided,
        fmt::format("cannot make a directory for private services at '{}' (TMPDIR): {}",
                    printableText(path), std::generic_category().message(errno)));
  }
  directory_ = path;
  setenv("PPS_RUNTIME_DIR", directory_.c_str(), 1);
}

// A service that is not private is reached through the private place all the same.
void PrivateServices::leadToRunning(const std::string& name) const {
  int error = makeDirectories(directory_ + "/services");
  const std::string place = directory_ + "/services/" + name;
  if (error == 0 && symlink((running_ + "/services/" + name).c_str(), place.c_str()) != 0) {
    error = errno;
  }
  if (error != 0) {
    throw CommandError(ExitStatus::undecided,
                       fmt::format("cannot prepare '{}' for private services: {}", directory_,
                                   std::generic_category().message(error)));
  }
}
