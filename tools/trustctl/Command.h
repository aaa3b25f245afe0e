#ifndef TOOLS_TRUSTCTL_COMMAND_H
#define TOOLS_TRUSTCTL_COMMAND_H

#include <functional>

#include "tools/trustctl/CommandError.h"

namespace CLI {
class App;
}

// What is left to do once the command line is understood. Throws CommandError and Interrupted.
using CommandAction = std::function<ExitStatus()>;

// Each command adds itself to the program: its options, its help, and a callback that puts its
// action into `chosen`. Both must outlive the parse.
void addBlacklistCommands(CLI::App* program, CommandAction* chosen);
void addCompletionCommand(CLI::App* program, CommandAction* chosen);
void addConnectCommand(CLI::App* program, CommandAction* chosen);
void addExceptionsCommands(CLI::App* program, CommandAction* chosen);
void addExplainCommand(CLI::App* program, CommandAction* chosen);
void addManualCommand(CLI::App* program, CommandAction* chosen);
void addMatchCommand(CLI::App* program, CommandAction* chosen);
void addServicesCommands(CLI::App* program, CommandAction* chosen);
void addVerifyCommand(CLI::App* program, CommandAction* chosen);

#endif
