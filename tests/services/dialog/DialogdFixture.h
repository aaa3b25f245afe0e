#ifndef TESTS_SERVICES_DIALOG_DIALOGDFIXTURE_H
#define TESTS_SERVICES_DIALOG_DIALOGDFIXTURE_H

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/services/dialog/DialogAsker.h"
#include "tests/support/CertificateMaker.h"
#include "tests/support/Fifo.h"
#include "tests/support/PseudoTerminal.h"
#include "tests/support/ServiceProcess.h"
#include "tests/support/TemporaryDirectory.h"

inline constexpr const char* kDeclined = R"({"accepted":false,"alwaysTrust":false})";
inline constexpr const char* kOnce = R"({"accepted":true,"alwaysTrust":false})";
inline constexpr const char* kAlways = R"({"accepted":true,"alwaysTrust":true})";

// The real program over its real socket, with faces that are scripts. A script gets --tty as $1
// and the terminal as $2; it can tell the test a line through $up and hear one through $go.
class DialogdTest : public testing::Test {
 protected:
  DialogdTest()
      : up_(files_.path("up")),
        go_(files_.path("go")),
        leaf_(files_.write("leaf.der", CertificateMaker("leaf.example").make().derString())) {
    setenv("PPS_RUNTIME_DIR", files_.path("run").c_str(), 1);
    setenv("HOME", files_.path().c_str(), 1);
    unsetenv("NO_COLOR");
  }

  void start(std::vector<std::string> arguments, const std::string& terminal = "") {
    arguments.emplace_back("--follow-parent");
    service_ = std::make_unique<ServiceProcess>(DIALOGD, std::move(arguments), terminal);
    ASSERT_TRUE(service_->isReady()) << service_->errors();
  }

  void startWithFace(const std::string& script, std::vector<std::string> further = {},
                     const std::string& terminal = "") {
    further.push_back("--face-program=" + writeFace(script));
    start(further, terminal);
  }

  // The same, after a shell has run a command that changes what the service inherits.
  void startThroughShell(const std::string& command, const std::string& script) {
    service_ = std::make_unique<ServiceProcess>(
        "/bin/sh", std::vector<std::string>{"-c", command + R"(; exec "$0" "$@")", DIALOGD,
                                            "--face-program=" + writeFace(script)});
    ASSERT_TRUE(service_->isReady()) << service_->errors();
  }

  // Executable by everybody.
  std::string writeFace(const std::string& script) const {
    std::string path =
        files_.write("face", "#!/bin/sh\nup='" + up_.path() + "'\ngo='" + go_.path() + "'\ndir='" +
                                 files_.path() + "'\n" + script);
    std::filesystem::permissions(path, std::filesystem::perms(0755));
    return path;
  }

  static std::string request(const std::string& domain, const std::string& path) {
    return "msg::show\nid::321\ndat:json:{\"className\":"
           "\"orb.dialog::CertificateVerificationDialog\",\"desc_obj\":{\"domain\":\"" +
           domain + R"(","import":false,"warnings":["NO_TRUSTED"],"chain":[")" + path + "\"]}}\n";
  }
  std::string request(const std::string& domain = "a.test") const { return request(domain, leaf_); }

  // The answer to a process without a terminal.
  static std::string ask(const std::string& text) { return DialogAsker(text, {}).answer(); }
  // The answer to one on terminal_.
  std::string askThere(const std::string& text) const {
    return DialogAsker(text, onTerminal()).answer();
  }
  DialogAsker::Options onTerminal() const {
    DialogAsker::Options options;
    options.terminal = terminal_.path();
    return options;
  }

  // Waits until the service has said so much on stderr; it must be verbose.
  void waitUntilSaid(const std::string& text) const {
    while (service_->errors().find(text) == std::string::npos) std::this_thread::yield();
  }

  std::string contentOf(const std::string& name) const {
    std::ifstream in(files_.path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

  TemporaryDirectory files_;
  PseudoTerminal terminal_{geteuid()};
  Fifo up_;
  Fifo go_;
  std::string leaf_;
  std::unique_ptr<ServiceProcess> service_;
};

#endif
