#ifndef SERVICES_CERTMGR_WORKERS_SANDBOX_H
#define SERVICES_CERTMGR_WORKERS_SANDBOX_H

#include <string>
#include <vector>

// What a process that evaluates must still be able to do.
struct SandboxNeeds {
  std::string writableDirectory;  // makes, writes and removes files in it, and nowhere else
  bool removesElsewhere = false;  // removes files and directories that it has made elsewhere
};

// Gives up for good whatever else this thread, and those that it starts from now on, could do
// and need not: starting programs, gaining rights, writing files, the network, tracing and
// controlling the system. It leaves no core file, and others of its user cannot look into it.
// Reading files stays, since requests name them anywhere. Root keeps the capabilities to read
// everything and to act for other users. Returns what the system does not offer or refuses, one
// phrase each; the rest is in force.
std::vector<std::string> enterSandbox(const SandboxNeeds& needs);

// The part of it that does not hinder a process from starting workers: no core file, and no gain of
// rights by what it starts.
void shieldProcess();

#endif
