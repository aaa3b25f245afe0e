#ifndef SERVICES_CERTMGR_CHAININPUT_H
#define SERVICES_CERTMGR_CHAININPUT_H

#include <string>
#include <vector>

// A certificate of a chain that somebody named on the command line.
struct GivenCertificate {
  std::string file;  // as it was named
  std::string der;
};

// The certificates of the files, in their order: one as DER, or any number as PEM. Throws
// std::runtime_error that names the file when one cannot be read whole or holds none.
std::vector<GivenCertificate> readChain(const std::vector<std::string>& files);

#endif
