#include "tools/trustctl/DecisionStore.h"

#include <stdlib.h>

#include <filesystem>
#include <system_error>

std::string userDecisionStore() {
  const char* home = getenv("HOME");
  std::error_code error;
  const std::filesystem::path resolved =
      home != nullptr ? std::filesystem::canonical(home, error) : std::filesystem::path();
  return (home == nullptr || error ? std::string("/var/temp") : resolved.string()) +
         "/vallorin/certexcept";
}
