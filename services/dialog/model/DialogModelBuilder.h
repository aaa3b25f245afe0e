#ifndef SERVICES_DIALOG_MODEL_DIALOGMODELBUILDER_H
#define SERVICES_DIALOG_MODEL_DIALOGMODELBUILDER_H

#include "services/dialog/model/DialogInput.h"
#include "services/dialog/model/DialogModel.h"

// Everything that a dialog says about the input, in plain words and in reading order: who asks,
// the domain, what has changed since an earlier decision, a hint at the clock, the warnings,
// the certificates. The size of the result is bounded however large names and lists are. Leaves
// the time-out at none, for the service to set. Throws std::runtime_error when the chain is
// empty or one of it is no certificate. Pure; may run on any thread.
DialogModel buildDialogModel(const DialogInput& input);

#endif
