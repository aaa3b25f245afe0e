#ifndef SERVICES_COMMON_CERTIFICATEDER_H
#define SERVICES_COMMON_CERTIFICATEDER_H

#include <vector>

// The DER bytes of one certificate, as they stood in the input.
using CertificateDer = std::vector<unsigned char>;

#endif
