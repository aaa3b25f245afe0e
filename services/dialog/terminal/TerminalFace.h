#ifndef SERVICES_DIALOG_TERMINAL_TERMINALFACE_H
#define SERVICES_DIALOG_TERMINAL_TERMINALFACE_H

#include <string>

#include "services/dialog/model/DialogModel.h"

// Shows the dialog on the terminal of that name and returns the choice; the terminal is then as
// it was. `colour`: where the terminal has it. Throws std::runtime_error when the dialog cannot
// be shown, or not to its end. The program's locale and exitOnSignals() are the caller's.
DialogChoice askOnTerminal(const DialogModel& model, const std::string& terminalPath, bool colour);

#endif
