#include "services/common/DecisionStore.h"

#include <stdlib.h>

#include <filesystem>
#include <system_error>

std::string decisionStoreIn(const std::string& home) {
  return (home.empty() ? "/var/temp" : home) + "/vallorin/certexcept";
}

std::string ownDecisionStore() {
  const char* home = getenv("HOME");
  std::error_code error;
  const std::filesystem::path resolved =
      std::filesystem::canonical(home != nullptr ? home : "", error);
  return decisionStoreIn(error ? "" : resolved.string());
}
