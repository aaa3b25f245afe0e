#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_EXCHANGECOMMANDS_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_EXCHANGECOMMANDS_H

#include "tools/trustctl/Command.h"

// The commands of the group "exceptions" that bring decisions in and out, and tell why one is
// not in force. Each adds itself to the group, as Command.h says.
void addAddCommand(CLI::App* group, CommandAction* chosen);
void addExportCommand(CLI::App* group, CommandAction* chosen);
void addImportCommand(CLI::App* group, CommandAction* chosen);
void addWhyCommand(CLI::App* group, CommandAction* chosen);

#endif
