#ifndef SERVICES_DIALOG_MODEL_NAMEREADING_H
#define SERVICES_DIALOG_MODEL_NAMEREADING_H

#include <string_view>
#include <vector>

#include "services/dialog/model/DialogModel.h"

// Remarks on a subject or issuer, as viewCertificate escapes it: on words in letters of several
// scripts, and on a name all of whose foreign letters only look like Latin ones. A word that
// does so beside others that do not is ordinary language. None for an ordinary name.
std::vector<DialogLine> describeName(std::string_view escaped);

#endif
