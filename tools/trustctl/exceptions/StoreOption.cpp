#include "tools/trustctl/exceptions/StoreOption.h"

#include <filesystem>

#include "services/common/DecisionStore.h"
#include "tools/trustctl/Options.h"

std::string StoreOption::directory() const {
  return given.empty() ? ownDecisionStore() : std::filesystem::absolute(given).string();
}

void addStoreOption(CLI::App* command, StoreOption* option) {
  addOption(command, "--store", &option->given, "The store (~/vallorin/certexcept)", "DIR")
      .notEmpty();
}
