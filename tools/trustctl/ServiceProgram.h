#ifndef TOOLS_TRUSTCTL_SERVICEPROGRAM_H
#define TOOLS_TRUSTCTL_SERVICEPROGRAM_H

#include <string>

// A service that this program can start for its own run.
struct ServiceProgram {
  const char* name;       // the program's file
  const char* variable;   // of the environment, where its path may stand
  const char* purpose;    // "judges chains"
  const char* otherwise;  // what else to do where it is missing, after a comma; may be empty
};

constexpr ServiceProgram certificateManagerProgram = {"trust-certmgrd", "TRUST_CERTMGRD",
                                                      "judges chains", ""};
constexpr ServiceProgram dialogProgram = {"trust-dialogd", "TRUST_DIALOGD", "asks the user",
                                          ", or ask nobody with --no-dialog"};

// Finds the program: the one its variable names, else the one beside this program, in ../sbin
// or ../libexec/trustlib from there, or in PATH. Throws CommandError (undecided) that says where
// it was looked for.
std::string findServiceProgram(const ServiceProgram& program);

#endif
