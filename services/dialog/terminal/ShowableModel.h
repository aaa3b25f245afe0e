#ifndef SERVICES_DIALOG_TERMINAL_SHOWABLEMODEL_H
#define SERVICES_DIALOG_TERMINAL_SHOWABLEMODEL_H

#include <functional>

#include "services/dialog/model/DialogModel.h"

// The model in characters that a terminal can show: one outside ASCII that it cannot becomes
// \u{e9}. The texts come escaped already; one that is not, or an offer without a way to decline
// first, means that the model is none, and throws std::runtime_error: what would be drawn then
// is anybody's guess.
DialogModel makeShowable(DialogModel model, const std::function<bool(char32_t)>& canShow);

// Whether a terminal with the program's locale shows a character outside ASCII in as many
// columns as lines are broken by. Only with a locale of UTF-8; reads the global locale.
bool canShowInLocale(char32_t character);

// Whether the program's locale encodes characters as UTF-8.
bool isUtf8Locale();

#endif
