#ifndef SERVICES_DIALOG_FACEPROGRAM_H
#define SERVICES_DIALOG_FACEPROGRAM_H

#include <string>

// The program that draws dialogs on a terminal: `named`, or where that is empty
// trust-dialog-terminal beside this program, in ../libexec/trustlib from there, or where it was
// meant to be installed. Throws std::runtime_error for the person who started the service when
// there is none.
std::string findFaceProgram(const std::string& named);

#endif
