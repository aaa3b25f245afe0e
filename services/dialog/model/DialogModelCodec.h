#ifndef SERVICES_DIALOG_MODEL_DIALOGMODELCODEC_H
#define SERVICES_DIALOG_MODEL_DIALOGMODELCODEC_H

#include <string>

#include "services/dialog/model/DialogModel.h"

// The words for choices between the service and its faces: "decline", "once", "always".
const char* dialogChoiceWord(DialogChoice choice);

// The model as one JSON object, for a face that is a program of its own, and back. Both throw
// std::runtime_error: the first for a text with a NUL, the second for anything that the first
// does not write.
std::string encodeDialogModel(const DialogModel& model);
DialogModel decodeDialogModel(const std::string& json);

#endif
