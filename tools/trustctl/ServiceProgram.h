#ifndef TOOLS_TRUSTCTL_SERVICEPROGRAM_H
#define TOOLS_TRUSTCTL_SERVICEPROGRAM_H

#include <string>

// Finds the certificate-manager service's program: the one $TRUST_CERTMGRD names, else
// trust-certmgrd beside this program, in ../sbin or ../libexec/trustlib from there, or in PATH.
// Throws CommandError (undecided) that says where it was looked for.
std::string findServiceProgram();

#endif
