#ifndef TESTS_SUPPORT_SERVICE_WORLD_H
#define TESTS_SUPPORT_SERVICE_WORLD_H

#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/support/TemporaryDirectory.h"

// A fresh world for one test: its own HOME and its own runtime directory for control
// objects. The library looks HOME up once a process, so make this before anything else.
class ServiceWorld {
 public:
  ServiceWorld() {
    std::filesystem::create_directory(home());
    std::filesystem::create_directory(runtime());
    setenv("HOME", home().c_str(), 1);
    setenv("PPS_RUNTIME_DIR", runtime().c_str(), 1);
  }

  std::string root() const { return directory.path(); }
  std::string home() const { return directory.path("home"); }
  std::string runtime() const { return directory.path("run"); }

 private:
  TemporaryDirectory directory;
};

#endif
