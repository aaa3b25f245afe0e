#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_EXCEPTIONSCOMMANDS_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_EXCEPTIONSCOMMANDS_H

#include "tools/trustctl/Command.h"

// The commands of the group "exceptions". Each adds itself to the group, as Command.h says.
void addAddCommand(CLI::App* group, CommandAction* chosen);
void addClearCommand(CLI::App* group, CommandAction* chosen);
void addDoctorCommand(CLI::App* group, CommandAction* chosen);
void addExportCommand(CLI::App* group, CommandAction* chosen);
void addImportCommand(CLI::App* group, CommandAction* chosen);
void addListCommand(CLI::App* group, CommandAction* chosen);
void addPruneCommand(CLI::App* group, CommandAction* chosen);
void addRemoveCommand(CLI::App* group, CommandAction* chosen);
void addShowCommand(CLI::App* group, CommandAction* chosen);
void addWhyCommand(CLI::App* group, CommandAction* chosen);

#endif
