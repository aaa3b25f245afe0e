#ifndef TOOLS_TRUSTCTL_WARNINGWORDS_H
#define TOOLS_TRUSTCTL_WARNINGWORDS_H

#include <string>
#include <string_view>
#include <vector>

#include "services/common/WarningTexts.h"

// The warnings as people type them.

// The text of the warning with that name, whatever its letter case and with "-" for "_" where
// somebody prefers it; NULL when there is none.
const WarningText* findWarningText(std::string_view name);

// All names in ascending bit order.
std::vector<std::string> warningNames();

#endif
