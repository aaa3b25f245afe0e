#ifndef TOOLS_TRUSTCTL_SERVICESETTINGS_H
#define TOOLS_TRUSTCTL_SERVICESETTINGS_H

#include <cstdint>
#include <optional>
#include <string>

// What private services are to judge by.
struct ServiceSettings {
  std::string cafile;                // roots instead of the system's; empty for none
  std::string capath;                // the same, as a directory
  std::string crlfile;               // further revocation lists; empty for none
  std::optional<std::int64_t> time;  // seconds since 1970 to judge as of; the clock without

  // True when anything is set.
  bool any() const { return !cafile.empty() || !capath.empty() || !crlfile.empty() || time; }
};

// How a private dialog service is to ask.
struct DialogSettings {
  std::string face;   // "terminal", or "policy:" and "decline", "once" or "always"
  std::string store;  // where it looks earlier decisions up
};

// The services take what they can use of these files and are silent about the rest, so that a
// wrong file would look like a bad chain. Throws CommandError (wrongUse) when a path is not
// what it should be, or holds nothing of use.
void requireUsable(const ServiceSettings& settings);

#endif
