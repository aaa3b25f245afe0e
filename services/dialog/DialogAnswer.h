#ifndef SERVICES_DIALOG_DIALOGANSWER_H
#define SERVICES_DIALOG_DIALOGANSWER_H

#include <optional>
#include <string>

#include "services/dialog/model/DialogModel.h"

// The answer to "show", with the request's id:
//   res::show
//   id::ID
//   dat:json:{"resp_obj":{"accepted":A,"alwaysTrust":T}}
// Throws std::runtime_error when the codec refuses the id.
std::string encodeDialogAnswer(const std::optional<std::string>& id, DialogChoice choice);

#endif
