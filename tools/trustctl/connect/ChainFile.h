#ifndef TOOLS_TRUSTCTL_CONNECT_CHAINFILE_H
#define TOOLS_TRUSTCTL_CONNECT_CHAINFILE_H

#include <string>
#include <vector>

#include "services/common/CertificateDer.h"

// Throws CommandError (wrongUse) when there is something at the path already, or no directory to
// put it in. To be asked before the work that leads to the file.
void requireNewFile(const std::string& path);

// Writes the certificates as PEM in their order. The file appears whole or not at all, and never
// in the place of another. Throws CommandError: wrongUse when there is one by now, undecided when
// it cannot be written.
void writeChainFile(const std::string& path, const std::vector<CertificateDer>& chain);

#endif
