#include "tools/trustctl/exceptions/StoreOption.h"

#include <filesystem>

#include "services/common/DecisionStore.h"
#include "tools/trustctl/Options.h"

std::string StoreOption::directory() const {
  return given.empty() ? ownDecisionStore() : std::filesystem::absolute(given).string();
}

void addStoreOption(CLI::App* command, StoreOption* option) {
  refuseEmpty(command->add_option("--store", option->given, "The store (~/vallorin/certexcept)")
                  ->type_name("DIR"));
}
