#ifndef TOOLS_TRUSTCTL_SECTIONTEXT_H
#define TOOLS_TRUSTCTL_SECTIONTEXT_H

#include <string>

#include "services/dialog/model/DialogModel.h"

// A section of a dialog as text: its heading, and its lines indented below; each line ended.
// Coloured by tone where colours are wanted.
std::string sectionText(const DialogSection& section);

#endif
