#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_STOREOPTION_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_STOREOPTION_H

#include <string>

namespace CLI {
class App;
}

// --store DIR of the commands over a store of decisions.
struct StoreOption {
  std::string given;  // empty for the user's own store

  // The absolute path of the store's directory, which need not exist.
  std::string directory() const;
};

// Adds it to a command; `option` must outlive the parse.
void addStoreOption(CLI::App* command, StoreOption* option);

#endif
